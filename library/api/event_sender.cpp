#include "library/api/event_sender.h"

#include "library/api/callback_scope.h"
#include "library/base/log.h"
#include "library/threads/thread.h"

#include <new>

namespace korv {

EventSender::EventSender()
    : m_thread(startThread("korv-events", [this] { run(); }))
{
}

EventSender::~EventSender()
{
    stop();
}

EventSender::Mark EventSender::setReceiver(Receiver receiver, std::deque<DeviceEvent> first)
{
    const MutexLock lock(m_mutex);
    m_receiver = receiver;
    m_waiting.clear();
    if (receiver)
        m_waiting.swap(first);
    m_changed.notifyAll();
    return m_callsBegun;
}

void EventSender::post(DeviceEvent event)
{
    const MutexLock lock(m_mutex);
    if (!m_receiver || m_stopping)
        return;
    m_waiting.push_back(std::move(event));
    m_changed.notifyAll();
}

void EventSender::waitUntilPast(Mark mark)
{
    if (CallbackScope::ofThisThread() == CallbackScope::Kind::DeviceEvent)
        return;
    MutexLock lock(m_mutex);
    // the counters may wrap around, their difference does not
    while (static_cast<int>(m_callsEnded - mark) < 0)
        m_changed.wait(lock);
}

void EventSender::silence()
{
    const MutexLock lock(m_mutex);
    m_stopping = true;
    m_receiver = nullptr;
    m_waiting.clear();
    m_changed.notifyAll();
}

void EventSender::stop()
{
    silence();
    if (m_thread.joinable())
        m_thread.join();
}

void EventSender::run()
{
    MutexLock lock(m_mutex);
    while (true) {
        while (!m_stopping && m_waiting.empty())
            m_changed.wait(lock);
        if (m_stopping)
            return;
        const DeviceEvent event = std::move(m_waiting.front());
        m_waiting.pop_front();
        const Receiver receiver = m_receiver;
        ++m_callsBegun;
        lock.unlock();
        deliver(receiver, event);
        lock.lock();
        ++m_callsEnded;
        m_changed.notifyAll();
    }
}

void EventSender::deliver(Receiver receiver, const DeviceEvent &event)
{
    MallocText text;
    try {
        text = messages::deviceEvent(event.action, event.device);
    } catch (const std::bad_alloc &) {
        logLine(LogLevel::Error, "dropped a device event", "out of memory");
        return;
    }
    const CallbackScope scope(CallbackScope::Kind::DeviceEvent);
    receiver(text.release());
}

} // namespace korv
