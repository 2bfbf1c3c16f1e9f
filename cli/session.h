#pragma once

#include "camera/ccamerasdk.h"
#include "cli/devices.h"
#include "cli/options.h"
#include "cli/tracecapture.h"
#include "cli/videonodes.h"
#include "cli/wakeup.h"

#include <optional>
#include <string>

namespace cli {

/// The camera library, loaded and initialised for one command, and the two outputs of the program.
/// Thread: the main thread.
class Session
{
public:
    explicit Session(const Options &options);
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    /// Un-initialises and unloads what open() got.
    ~Session();

    /// Loads and initialises the library; says what went wrong.
    ExitCode open();

    CCameraSDK &library() { return m_library; }
    Wakeup &wakeup() { return m_wakeup; }

    /// Cameras present. A camera may need a moment after the start: when there is none, or not
    /// `wanted`, the answer waits for it for half a second.
    std::vector<Device> devices(std::optional<int> wanted = std::nullopt);

    /// Tells of cameras that are there and that this user may not open; whether there are any.
    /// Silent where the machine's cameras are not used.
    bool tellForbiddenCameras(const SystemFolders &folders = {}) const;

    /// The camera asked for, or the first; nothing after saying that there is none.
    std::optional<Device> findDevice();

    /// A line on standard output, there at once.
    void print(const std::string &line);
    /// "korvcam: " and a line on standard error.
    void complain(const std::string &line) const;
    /// Complains when `result` is negative; Failure then.
    ExitCode check(int result, const std::string &doing) const;
    /// The same for what was asked of a camera, with what may help.
    ExitCode checkCamera(int result, const std::string &doing) const;

private:
    const Options &m_options;
    Wakeup m_wakeup; // before the library and its threads: they inherit the blocked signals
    TraceCapture m_trace;
    CCameraSDK m_library;
    bool m_loaded = false;
    bool m_initialised = false;
};

} // namespace cli
