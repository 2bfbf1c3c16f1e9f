#pragma once

#include "cli/base/descriptor.h"

#include <string>

namespace cli {

/// The photograph button on a camera, which the kernel shows as an input device beside the video
/// node. Most cameras report it only while their video node is open.
class CameraButton
{
public:
    /// Where the system shows its devices; a test has folders of its own.
    struct Folders
    {
        std::string videoNodes = "/sys/class/video4linux";
        std::string input = "/dev/input";
    };

    /// The path of the input node that belongs to the same USB device as the video node `node`
    /// ("/dev/video0") and is named as a button; empty when there is none.
    static std::string find(const std::string &node, const Folders &folders);
    static std::string find(const std::string &node) { return find(node, Folders()); }

    /// Opens an input node. See error().
    explicit CameraButton(const std::string &path);

    /// errno of why it is not open; 0: it is, and nothing has gone wrong since.
    int error() const { return m_error; }

    /// To wait for: readable when there is something for presses() to read. -1 once it has failed.
    int descriptor() const { return m_descriptor.get(); }

    /// How often the button was pressed since it was asked last; waits for nothing. After the camera
    /// has gone, 0 for ever, and error() is ENODEV.
    int presses();

private:
    Descriptor m_descriptor;
    int m_error;
};

} // namespace cli
