#pragma once

#include "camera/ccamerasdk.h"
#include "cli/advice/videonodes.h"
#include "cli/base/jsonline.h"
#include "cli/base/wakeup.h"
#include "cli/calls/tracecapture.h"
#include "cli/commandline/options.h"
#include "cli/session/devices.h"

#include <optional>
#include <string>

namespace cli {

/// Whether the library looks for the machine's own cameras: a simulated desk takes their place,
/// unless the environment says otherwise.
bool usesRealCameras();

/// The simulated desk that the environment names; empty without one.
std::string simulatedDesk();

/// Who finds out which photographs are out of focus, which takes time.
enum class FocusCheck {
    Off, ///< nobody, unless the user's settings have the library do it
    Library, ///< the library, unless the user has switched it off
    Caller, ///< not the library; see examinesFocus()
};

/// The camera library, loaded and initialised for one command, and the two outputs of the program.
/// Thread: the main thread.
class LibrarySession
{
public:
    explicit LibrarySession(const Options &options);
    LibrarySession(const LibrarySession &) = delete;
    LibrarySession &operator=(const LibrarySession &) = delete;
    ~LibrarySession() { close(); }

    /// Loads and initialises the library; reports what went wrong and what helps.
    ExitCode open(FocusCheck focus = FocusCheck::Off);

    /// Un-initialises and unloads the library, which ends its threads; open() may follow.
    void close();

    /// Whether the caller is to examine the focus: it said so in open(), and the user has not switched
    /// that off.
    bool examinesFocus() const { return m_examinesFocus; }

    CCameraSDK &library() { return m_library; }
    Wakeup &wakeup() { return m_wakeup; }

    /// Cameras present. A camera may need a moment after the start: when there is none, or not
    /// `wanted`, the answer waits for it for half a second.
    /// `wanted` is what matching() takes.
    std::vector<Device> devices(const std::optional<std::string> &wanted = std::nullopt);

    /// Cameras present at this moment. Any thread.
    std::vector<Device> presentDevices();

    /// Reports that there is no camera and why that may be; the code to end with.
    ExitCode reportNoCamera() const;

    /// Reports cameras that are present but that this user may not open; whether there are any.
    /// Silent where the machine's cameras are not used.
    bool reportInaccessibleCameras(const SystemFolders &folders = {}) const;

    /// The camera asked for, or the first. Nothing after saying that there is none or that several are
    /// meant, or that the user stopped the work; `code` is the one to end with then.
    std::optional<Device> findDevice(ExitCode &code);

    /// A line on standard output, there at once. The first one that cannot be written is
    /// reported.
    void print(const std::string &line);
    /// A result: as a line of text, or with --json as an object.
    void print(const std::string &text, const JsonLine &object);
    /// A line of text between results, which --json leaves out.
    void printHeading(const std::string &text);
    /// Where results go, for what is no line; -1 when standard output is closed.
    int outputDescriptor() const;
    /// Whether every line so far went out.
    bool outputWorks() const { return m_outputWorks; }
    /// Reports a negative `result`; Failure then.
    ExitCode check(int result, const std::string &doing) const;
    /// The same for what was asked of a camera, with what may help.
    ExitCode checkCamera(int result, const std::string &doing) const;
    /// Says that no frame came within the time of the options; the code to end with.
    ExitCode reportNoFrame() const;
    /// Says that the user stopped the work, and `consequence`; the code to end with.
    ExitCode interrupted(const std::string &consequence = {}) const;

private:
    const Options &m_options;
    Wakeup m_wakeup; // before the library and its threads: they inherit the blocked signals
    TraceCapture m_trace;
    CCameraSDK m_library;
    bool m_loaded = false;
    bool m_initialised = false;
    bool m_examinesFocus = false;
    bool m_outputWorks = true;
};

} // namespace cli
