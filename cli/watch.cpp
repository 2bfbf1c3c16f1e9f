#include "cli/watch.h"

#include "cli/base/errors.h"

#include "camera/deviceevent.h"
#include "cli/advice/deskadvice.h"
#include "cli/base/malloc_text.h"
#include "cli/base/translation.h"
#include "util/mutex.h"

#include <atomic>
#include <queue>

namespace cli {
namespace {

using Clock = Wakeup::Clock;

/// Events on their way from the library's thread. The callback carries no context, hence the one
/// active queue; take the callback away first.
class EventQueue
{
public:
    explicit EventQueue(Wakeup &wakeup)
        : m_wakeup(wakeup)
    {
        active() = this;
    }
    EventQueue(const EventQueue &) = delete;
    EventQueue &operator=(const EventQueue &) = delete;
    ~EventQueue() { active() = nullptr; }

    static void onEvent(char *json)
    {
        const LibraryText owned(json);
        EventQueue *const queue = active();
        const std::optional<QString> event = deviceevent::fromJson(json);
        if (queue && event)
            queue->push(*event);
    }

    std::optional<QString> pop()
    {
        const MutexLock lock(m_mutex);
        if (m_events.empty())
            return std::nullopt;
        QString event = m_events.front();
        m_events.pop();
        return event;
    }

private:
    static std::atomic<EventQueue *> &active()
    {
        static std::atomic<EventQueue *> queue{nullptr};
        return queue;
    }

    void push(const QString &event)
    {
        {
            const MutexLock lock(m_mutex);
            m_events.push(event);
        }
        m_wakeup.notify();
    }

    Wakeup &m_wakeup;
    Mutex m_mutex;
    std::queue<QString> m_events GUARDED_BY(m_mutex);
};

void printEvents(LibrarySession &session, EventQueue &queue, int &left)
{
    while (const std::optional<QString> event = left != 0 ? queue.pop() : std::nullopt) {
        const Device device{deviceevent::index(*event), deviceevent::vid(*event),
                            deviceevent::pid(*event), deviceevent::name(*event).toStdString()};
        const std::string action = deviceevent::action(*event).toStdString();
        JsonLine object;
        object.add("event", action).addTime().add("index", device.index);
        object.add("model", modelOf(device)).add("name", device.name);
        session.print(action + "  " + describe(device), object);
        --left;
    }
}

} // namespace

ExitCode watch(LibrarySession &session, const Options &options)
{
    EventQueue queue(session.wakeup());
    ExitCode code =
        session.check(session.library().RegCallBackCameraChange(&EventQueue::onEvent), tr("watch"));
    if (code != ExitCode::Success)
        return code;
    std::optional<Clock::time_point> deadline;
    if (options.durationMs > 0)
        deadline = Clock::now() + std::chrono::milliseconds(options.durationMs);
    if (holdsPicturesOnly(simulatedDesk()))
        printError(adviceOnDesk(simulatedDesk()));
    int left = options.maximumEvents > 0 ? options.maximumEvents : -1;
    Wake wake = Wake::Notified;
    while (left != 0 && session.outputWorks() && wake == Wake::Notified) {
        wake = session.wakeup().wait(deadline);
        if (wake == Wake::Notified)
            printEvents(session, queue, left);
    }
    session.library().RegCallBackCameraChange(nullptr);
    // without a limit, being stopped is the way to end
    const bool isLimited = deadline || options.maximumEvents > 0;
    return wake == Wake::Interrupted && isLimited ? session.interrupted() : code;
}

} // namespace cli
