#pragma once

#include "library/base/event_fd.h"
#include "library/device/device_monitor.h"
#include "library/device/simulated/simulated_stream.h"
#include "library/threads/mutex.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace korv {

/// What the name of a camera folder says.
struct CameraFolderName
{
    int vid = 0;
    int pid = 0;
    std::string name; ///< usable as DeviceIdentity::name
};

/// Reads "VVVV:PPPP Name": two USB ids of four hexadecimal digits, a blank, a name, which may be
/// missing together with the blank. Nothing for any other name.
std::optional<CameraFolderName> readCameraFolderName(const std::string &folderName);

/// A folder of simulated cameras: each folder in it is one, plugged in by making or moving it there
/// and pulled by removing it or moving it away. Folders whose names begin with a dot are passed
/// over in silence, other unreadable names with a line in the log; so a camera can be made ready
/// under a hidden name and plugged in by renaming it.
///
/// A desk that does not exist has no cameras and never gets any; the log says so. When the desk
/// itself goes, so do its cameras. A desk that cannot be watched for now, or not be read, because
/// descriptors, watches or memory are short, is looked at every second until it can.
class SimulatedMonitor : public DeviceMonitor
{
public:
    explicit SimulatedMonitor(std::string deskFolder);
    ~SimulatedMonitor() override;

    /// Cameras present are reported before this returns, where there is no shortage. -EMFILE,
    /// -ENOMEM.
    Result<void> start(DeviceObserver &observer) override;
    Result<std::unique_ptr<CameraDevice>> open(const std::string &key) override;

private:
    using Plugs =
        std::map<std::string, std::shared_ptr<Plug>>; ///< by folder name, which is the key

    void run();
    bool readEvents();
    void fallBehind(const Error &reason);
    bool catchUp();
    Result<void> watch();
    Result<std::vector<std::string>> list() const;
    Result<void> scan();
    void vanish();
    void explainPictures() const;
    void plugIn(const std::string &folderName);
    void pull(const std::string &folderName);
    void pullMissing();
    Plugs plugs() const;
    std::string pathOf(const std::string &folderName) const { return m_desk + "/" + folderName; }

    const std::string m_desk;
    DeviceObserver *m_observer = nullptr; // set once, by start()
    UniqueFd m_inotify;
    std::optional<EventFd> m_stop;
    bool m_behind = false; ///< not everything can be seen for now; of the thread, once it runs

    mutable Mutex m_mutex;
    Plugs m_plugs GUARDED_BY(m_mutex);

    std::thread m_thread; // touches m_observer, m_inotify, m_behind, m_plugs
};

} // namespace korv
