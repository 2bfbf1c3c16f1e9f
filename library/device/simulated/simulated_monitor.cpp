#include "library/device/simulated/simulated_monitor.h"

#include "library/base/log.h"
#include "library/base/shortage.h"
#include "library/device/device_name.h"
#include "library/device/simulated/folder_pages.h"
#include "library/device/simulated/simulated_device.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <vector>

namespace korv {
namespace {

constexpr int kTryEvery = 1000; ///< milliseconds

constexpr std::uint32_t kCame = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t kWent = IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t kDeskWent = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;
constexpr std::uint32_t kWatched = kCame | kWent | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

bool isFolder(const std::string &path)
{
    struct stat status
    {
    };
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Four hexadecimal digits at `at`.
std::optional<int> readId(const std::string &text, std::size_t at)
{
    if (text.size() < at + 4)
        return std::nullopt;
    int value = 0;
    for (std::size_t digit = at; digit < at + 4; ++digit) {
        const char *digits = "0123456789abcdef";
        const char c = text[digit];
        const char *found =
            c == '\0' ? nullptr : std::strchr(digits, c >= 'A' && c <= 'F' ? c + 32 : c);
        if (!found)
            return std::nullopt;
        value = value * 16 + static_cast<int>(found - digits);
    }
    return value;
}

} // namespace

std::optional<CameraFolderName> readCameraFolderName(const std::string &folderName)
{
    const std::optional<int> vid = readId(folderName, 0);
    const std::optional<int> pid = readId(folderName, 5);
    if (!vid || !pid || folderName[4] != ':' || (folderName.size() > 9 && folderName[9] != ' '))
        return std::nullopt;
    const std::string name = folderName.size() > 10 ? folderName.substr(10) : std::string();
    return CameraFolderName{*vid, *pid, usableDeviceName(name)};
}

SimulatedMonitor::SimulatedMonitor(std::string deskFolder)
    : m_desk(std::move(deskFolder))
{
}

SimulatedMonitor::~SimulatedMonitor()
{
    if (!m_thread.joinable())
        return;
    m_stop->set();
    m_thread.join();
}

Result<void> SimulatedMonitor::start(DeviceObserver &observer)
{
    m_observer = &observer;
    Result<EventFd> stop = EventFd::create();
    if (!stop)
        return stop.error();
    m_stop = std::move(stop).value();
    Result<void> looked = watch();
    if (!looked && !isShortage(looked.code())) {
        logLine(LogLevel::Error, "cannot watch the desk " + m_desk, looked.error().text);
        return {};
    }
    // after the watch: what comes now is seen by one of them, or by both, which does no harm
    if (Result<void> scanned = scan(); !scanned)
        looked = scanned;
    else
        explainPictures();
    if (!looked)
        fallBehind(looked.error());
    m_thread = startThread("korv-desk", [this] { run(); });
    return {};
}

Result<void> SimulatedMonitor::watch()
{
    UniqueFd inotify(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!inotify || ::inotify_add_watch(inotify.get(), m_desk.c_str(), kWatched) < 0)
        return systemError(errno, std::strerror(errno));
    m_inotify = std::move(inotify);
    return {};
}

Result<std::unique_ptr<CameraDevice>> SimulatedMonitor::open(const std::string &key)
{
    std::shared_ptr<const Plug> plug;
    {
        const MutexLock lock(m_mutex);
        const auto found = m_plugs.find(key);
        if (found == m_plugs.end())
            return Error{-ENODEV, "camera folder " + key + " is gone"};
        plug = found->second;
    }
    return std::unique_ptr<CameraDevice>(
        std::make_unique<SimulatedDevice>(plug, std::make_unique<FolderPages>(pathOf(key))));
}

void SimulatedMonitor::run()
{
    while (true) {
        std::array<pollfd, 2> sources{{{m_inotify.get(), POLLIN, 0}, {m_stop->fd(), POLLIN, 0}}};
        if (::poll(sources.data(), sources.size(), m_behind ? kTryEvery : -1) < 0 && errno != EINTR)
            return;
        if (sources[1].revents != 0)
            return;
        try {
            if (sources[0].revents != 0 && !readEvents())
                return;
            if (m_behind && !catchUp())
                return;
        } catch (const std::exception &error) {
            m_behind = true;
            logLine(LogLevel::Warning, "cannot watch the desk, trying again", m_desk, error.what());
        }
    }
}

void SimulatedMonitor::fallBehind(const Error &reason)
{
    if (!m_behind)
        logLine(LogLevel::Warning, "cannot watch the desk " + m_desk + ", trying again",
                reason.text);
    m_behind = true;
}

/// Sees what was missed, and watches from then on, if that is possible now. False when there is
/// nothing left to watch.
bool SimulatedMonitor::catchUp()
{
    const Result<void> watched = m_inotify ? Result<void>() : watch();
    pullMissing();
    const Result<void> scanned = scan();
    if (!scanned && !isShortage(scanned.code())) {
        vanish();
        return false;
    }
    m_behind = !watched || !scanned;
    if (!m_behind)
        logLine(LogLevel::Info, "watching the desk " + m_desk + " again");
    return true;
}

/// The desk is gone, and its cameras with it.
void SimulatedMonitor::vanish()
{
    logLine(LogLevel::Warning, "the desk " + m_desk + " is gone");
    for (const auto &entry : plugs())
        pull(entry.first);
}

/// False when there is nothing left to watch.
bool SimulatedMonitor::readEvents()
{
    alignas(inotify_event) std::array<char, 16 * 1024> buffer{};
    const ssize_t size = ::read(m_inotify.get(), buffer.data(), buffer.size());
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, &buffer[static_cast<std::size_t>(at)], sizeof(event));
        const char *name = &buffer[static_cast<std::size_t>(at)] + sizeof(event);
        at += static_cast<ssize_t>(sizeof(event)) + event.len;
        if ((event.mask & kDeskWent) != 0) {
            vanish();
            return false;
        }
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            pullMissing();
            if (const Result<void> scanned = scan(); !scanned)
                fallBehind(scanned.error());
        } else if ((event.mask & kWent) != 0) {
            pull(name);
        } else if ((event.mask & kCame) != 0) {
            plugIn(name);
        }
    }
    return true;
}

/// What lies in the desk's folder, sorted, so that indices do not depend on the file system.
Result<std::vector<std::string>> SimulatedMonitor::list() const
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator at(m_desk, error);
    for (; !error && at != std::filesystem::directory_iterator(); at.increment(error))
        names.push_back(at->path().filename().native());
    if (error)
        return Error{-error.value(), error.message()};
    std::sort(names.begin(), names.end());
    return names;
}

Result<void> SimulatedMonitor::scan()
{
    const Result<std::vector<std::string>> names = list();
    if (!names)
        return names.error();
    for (const std::string &name : names.value())
        plugIn(name);
    return {};
}

SimulatedMonitor::Plugs SimulatedMonitor::plugs() const
{
    const MutexLock lock(m_mutex);
    return m_plugs;
}

/// For whoever puts pictures where camera folders belong.
void SimulatedMonitor::explainPictures() const
{
    const Result<std::vector<std::string>> names = list();
    if (!plugs().empty() || !names)
        return;
    const bool holdsPictures = std::any_of(names.value().begin(), names.value().end(), isPageName);
    if (holdsPictures)
        logLine(LogLevel::Warning, "desk " + m_desk,
                "the pictures in it are not used; each sub-folder is a camera, with a name like "
                "\"1209:0001 Name\", and the pictures inside are its pages");
}

void SimulatedMonitor::plugIn(const std::string &folderName)
{
    if (folderName.empty() || folderName[0] == '.' || !isFolder(pathOf(folderName)))
        return;
    const std::optional<CameraFolderName> read = readCameraFolderName(folderName);
    if (!read) {
        logLine(LogLevel::Warning, "folder \"" + folderName + "\" is not a camera",
                "its name is not like \"1209:0001 Name\"");
        return;
    }
    {
        const MutexLock lock(m_mutex);
        if (!m_plugs.emplace(folderName, std::make_shared<Plug>()).second)
            return;
    }
    m_observer->onArrival(
        {folderName, read->name, read->vid, read->pid, {}, {}, "folder \"" + folderName + "\""});
}

void SimulatedMonitor::pull(const std::string &folderName)
{
    {
        const MutexLock lock(m_mutex);
        const auto found = m_plugs.find(folderName);
        if (found == m_plugs.end())
            return;
        found->second->pull(); // the stream ends before the departure is told
        m_plugs.erase(found);
    }
    m_observer->onDeparture(folderName);
}

/// After the kernel lost events: nothing tells which folders were removed, or removed and made
/// again.
void SimulatedMonitor::pullMissing()
{
    for (const auto &entry : plugs()) {
        if (!isFolder(pathOf(entry.first)))
            pull(entry.first);
    }
}

} // namespace korv
