#pragma once

#include <string>

namespace kernel_tests {

/// The kernel's virtual video driver, loaded with one capture node for each camera. It has the
/// whole of V4L2 behind it and no hardware. Everything here throws std::runtime_error when the
/// kernel refuses.
class Vivid
{
public:
    explicit Vivid(int cameras = 1);
    ~Vivid();
    Vivid(const Vivid &) = delete;
    Vivid &operator=(const Vivid &) = delete;

    /// Unloads it: possible only when nobody has a node open. False when somebody has.
    static bool unload();
    static void load(int cameras);

    /// Presses the button control of that name on the first camera: "Disconnect" is an unplug.
    static void press(const std::string &control);
    /// Sets a control of the first camera.
    static void set(const std::string &control, int value);
};

/// Another program that streams: it holds the buffers of the first camera.
class OtherProgram
{
public:
    OtherProgram();
    ~OtherProgram();
    OtherProgram(const OtherProgram &) = delete;
    OtherProgram &operator=(const OtherProgram &) = delete;

private:
    int m_descriptor;
};

} // namespace kernel_tests
