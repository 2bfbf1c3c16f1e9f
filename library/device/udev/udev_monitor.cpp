#include "library/device/udev/udev_monitor.h"

#include "library/base/log.h"
#include "library/controls/mains_frequency.h"
#include "library/device/device_name.h"
#include "library/device/udev/node_source.h"
#include "library/device/udev/udev_nodes.h"
#include "library/threads/call_gate.h"
#include "library/threads/mutex.h"
#include "library/threads/thread.h"

#include <array>
#include <cerrno>
#include <exception>
#include <optional>
#include <poll.h>
#include <utility>

namespace korv {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFirstLook{500};
constexpr std::chrono::milliseconds kEndTime{300};
constexpr std::chrono::milliseconds kTryEvery{1000};

} // namespace

/// The thread's part of the monitor, and what it shares with open cameras.
class UdevMonitor::Watch
{
public:
    Watch(std::shared_ptr<V4l2Calls> calls, NodeSourceMaker makeSource, CameraControls controls,
          DeviceObserver &observer, EventFd wakeUp)
        : m_makeSource(std::move(makeSource))
        , m_controls(std::move(controls))
        , m_restorer(m_controls.followMains ? mainsFrequency() : std::nullopt)
        , m_observer(observer)
        , m_wakeUp(std::move(wakeUp))
        , m_nodes(
              std::move(calls), [this](const DeviceIdentity &device) { arrived(device); },
              [this](const std::string &key) { departed(key); },
              [this](const V4l2Node &opened, const VideoNode &node, Appearance appearance) {
                  setControls(opened, node, appearance);
              })
    {
    }

    void run() noexcept;
    const UdevNodes &nodes() const { return m_nodes; }

    /// From an open camera's thread: waits for nothing.
    void report(const std::string &key, V4l2Exit fate)
    {
        const MutexLock lock(m_mutex);
        m_reports.emplace_back(key, fate);
        m_wakeUp.set();
    }
    void quit()
    {
        const MutexLock lock(m_mutex);
        m_quitting = true;
        m_wakeUp.set();
    }
    /// No observer call runs or begins afterwards.
    void silence() { m_observer.shut(); }
    void waitForFirstLook()
    {
        MutexLock lock(m_mutex);
        const auto end = Clock::now() + kFirstLook;
        while (!m_looked && m_changed.waitUntil(lock, end)) { }
    }
    bool waitUntilEnded()
    {
        MutexLock lock(m_mutex);
        const auto end = Clock::now() + kEndTime;
        while (!m_ended && m_changed.waitUntil(lock, end)) { }
        return m_ended;
    }

private:
    void watch();
    bool handleReports();
    void handleEvents();
    void list();
    Result<void> tryToList();
    int millisecondsToSleep() const;
    void tell(bool Watch::*flag);
    void arrived(const DeviceIdentity &device)
    {
        m_observer.call([&](DeviceObserver &observer) { observer.onArrival(device); });
    }
    void setControls(const V4l2Node &opened, const VideoNode &node, Appearance appearance) const;
    void departed(const std::string &key)
    {
        m_observer.call([&](DeviceObserver &observer) { observer.onDeparture(key); });
    }

    const NodeSourceMaker m_makeSource;
    const CameraControls m_controls;
    const ControlRestorer m_restorer;
    CallGate<DeviceObserver> m_observer;
    const EventFd m_wakeUp;
    UdevNodes m_nodes;

    // of the thread
    std::unique_ptr<NodeSource> m_source; ///< null: not yet
    std::optional<Clock::time_point> m_listDue = Clock::now();
    bool m_firstList = true;
    bool m_short = false; ///< of descriptors or memory: logged, and tried again

    Mutex m_mutex;
    Condition m_changed;
    std::vector<std::pair<std::string, V4l2Exit>> m_reports GUARDED_BY(m_mutex);
    bool m_quitting GUARDED_BY(m_mutex) = false;
    bool m_looked GUARDED_BY(m_mutex) = false;
    bool m_ended GUARDED_BY(m_mutex) = false;
};

void UdevMonitor::Watch::tell(bool Watch::*flag)
{
    const MutexLock lock(m_mutex);
    this->*flag = true;
    m_changed.notifyAll();
}

void UdevMonitor::Watch::run() noexcept
{
    try {
        watch();
    } catch (const std::exception &error) {
        logLine(LogLevel::Error, "device monitoring stopped", error.what());
    }
    tell(&Watch::m_ended);
}

void UdevMonitor::Watch::watch()
{
    while (handleReports()) {
        if (m_listDue && *m_listDue <= Clock::now())
            list();
        std::array<pollfd, 2> sources{
            {{m_source ? m_source->descriptor() : -1, POLLIN, 0}, {m_wakeUp.fd(), POLLIN, 0}}};
        const int ready = ::poll(sources.data(), sources.size(), millisecondsToSleep());
        if (ready < 0 && errno != EINTR)
            return;
        if (m_source)
            handleEvents();
        m_nodes.lookAgain(Clock::now());
    }
}

/// Finds out which nodes there are, now or, when descriptors or memory are short, later.
void UdevMonitor::Watch::list()
{
    const Result<void> listed = tryToList();
    m_listDue.reset();
    if (!listed) {
        m_listDue = Clock::now() + kTryEvery;
        if (!std::exchange(m_short, true))
            logLine(LogLevel::Warning, "cannot look for cameras, trying again",
                    listed.error().text);
        return;
    }
    if (std::exchange(m_short, false))
        logLine(LogLevel::Info, "looking for cameras again");
    tell(&Watch::m_looked);
}

Result<void> UdevMonitor::Watch::tryToList()
{
    if (!m_source) {
        Result<std::unique_ptr<NodeSource>> made = m_makeSource();
        if (!made)
            return made.error();
        m_source = std::move(made).value();
    }
    const Result<std::vector<VideoNode>> nodes = m_source->list();
    if (!nodes)
        return nodes.error();
    if (std::exchange(m_firstList, false)) {
        for (const VideoNode &node : nodes.value())
            m_nodes.wasThere(node, Clock::now());
    } else {
        m_nodes.reconcile(nodes.value(), Clock::now());
    }
    return {};
}

int UdevMonitor::Watch::millisecondsToSleep() const
{
    std::optional<Clock::time_point> next = m_nodes.nextLook();
    if (m_listDue && (!next || *m_listDue < *next))
        next = m_listDue;
    if (!next)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

/// False when the thread is to end.
bool UdevMonitor::Watch::handleReports()
{
    std::vector<std::pair<std::string, V4l2Exit>> reports;
    {
        const MutexLock lock(m_mutex);
        m_wakeUp.clear();
        if (m_quitting)
            return false;
        reports.swap(m_reports);
    }
    for (const auto &[key, fate] : reports)
        m_nodes.updateFrom(key, fate, Clock::now());
    return true;
}

void UdevMonitor::Watch::setControls(const V4l2Node &opened, const VideoNode &node,
                                     Appearance appearance) const
{
    const SavedControls &saved = m_controls.savedFor(node.vid, node.pid);
    const std::string label = nodeLabel(node.node, node.product);
    const ControlCall call = [&](unsigned long request, void *argument) {
        return opened.control(request, argument);
    };
    const bool answers = m_restorer.restore(call, saved, appearance, label);
    if (answers && m_controls.followMains && saved.count("power_line_frequency") == 0)
        m_restorer.adaptToMains(call, label);
}

void UdevMonitor::Watch::handleEvents()
{
    while (const std::optional<VideoEvent> event = m_source->next()) {
        if (event->added)
            m_nodes.appeared(event->node, Clock::now());
        else
            m_nodes.vanished(event->node.path);
    }
    if (m_source->lostEvents())
        m_listDue = Clock::now();
}

UdevMonitor::UdevMonitor(std::shared_ptr<V4l2Calls> calls, V4l2Patience patience,
                         NodeSourceMaker makeSource, CameraControls controls)
    : m_calls(std::move(calls))
    , m_patience(patience)
    , m_makeSource(std::move(makeSource))
    , m_controls(std::move(controls))
{
}

UdevMonitor::~UdevMonitor()
{
    if (!m_watch)
        return;
    m_watch->quit();
    m_watch->silence();
    if (m_watch->waitUntilEnded()) {
        m_thread.join();
        return;
    }
    logLine(LogLevel::Warning, "monitor thread blocked in the driver; detaching it");
    m_thread.detach();
}

Result<void> UdevMonitor::start(DeviceObserver &observer)
{
    Result<EventFd> wakeUp = EventFd::create();
    if (!wakeUp)
        return wakeUp.error();
    auto watch = std::make_shared<Watch>(m_calls, m_makeSource, m_controls, observer,
                                         std::move(wakeUp).value());
    m_thread = startThread("korv-udev", [watch] { watch->run(); });
    m_watch = std::move(watch);
    m_watch->waitForFirstLook();
    return {};
}

Result<std::unique_ptr<CameraDevice>> UdevMonitor::open(const std::string &key)
{
    const auto place = m_watch ? m_watch->nodes().find(key) : std::nullopt;
    if (!place)
        return Error{-ENODEV, "the camera is gone"};
    const std::weak_ptr<Watch> watch = m_watch;
    const auto report = [watch, key](V4l2Exit fate) {
        if (const std::shared_ptr<Watch> there = watch.lock())
            there->report(key, fate);
    };
    return V4l2Device::open({m_calls, place->node, place->turn, report, place->model}, m_patience);
}

} // namespace korv
