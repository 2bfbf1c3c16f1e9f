#pragma once

#include "library/api/messages.h"
#include "library/threads/mutex.h"

#include <deque>
#include <thread>

namespace korv {

struct DeviceEvent
{
    DeviceAction action = DeviceAction::Add;
    IndexedDevice device;
};

/// Calls the application's hot-plug callback, one event at a time and in order, on a thread of its
/// own. No lock is held during the call, so the callback may call back into the library, and the
/// threads that post events never wait for the application.
class EventSender
{
public:
    using Receiver = void (*)(char *json);

    /// Throws std::system_error when no thread can be started.
    EventSender();
    ~EventSender();
    EventSender(const EventSender &) = delete;
    EventSender &operator=(const EventSender &) = delete;

    /// A point in the sequence of calls.
    using Mark = unsigned;

    /// From now on events go to `receiver`, beginning with `first`; what waits for the earlier
    /// receiver is forgotten. A call to it may still be running: waitUntilPast() what this returns.
    Mark setReceiver(Receiver receiver, std::deque<DeviceEvent> first);

    /// Without a receiver the event is forgotten.
    void post(DeviceEvent event);

    /// Waits until the calls begun before the mark have ended; calls to a new receiver, which may
    /// want what the waiter holds, are not waited for. Returns at once on the event thread itself.
    void waitUntilPast(Mark mark);

    /// Forgets what waits and tells the thread to end. No call begins afterwards. Any thread.
    void silence();

    /// The same, and joins the thread. Not from the event thread.
    void stop();

private:
    void run();
    static void deliver(Receiver receiver, const DeviceEvent &event);

    Mutex m_mutex;
    Condition m_changed;
    std::deque<DeviceEvent> m_waiting GUARDED_BY(m_mutex);
    Receiver m_receiver GUARDED_BY(m_mutex) = nullptr;
    Mark m_callsBegun GUARDED_BY(m_mutex) = 0;
    Mark m_callsEnded GUARDED_BY(m_mutex) = 0;
    bool m_stopping GUARDED_BY(m_mutex) = false;

    std::thread m_thread; // last: it starts in the constructor and needs the rest
};

} // namespace korv
