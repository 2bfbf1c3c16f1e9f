#pragma once

#include <condition_variable>
#include <mutex>

namespace korv {

/// Something borrowed that a thread calls which its owner may have to leave behind. The thread
/// keeps the gate; the owner shuts it before the borrowed thing goes. No lock is held during a
/// call.
template <typename Target> class CallGate
{
public:
    explicit CallGate(Target &target)
        : m_target(&target)
    {
    }
    CallGate(const CallGate &) = delete;
    CallGate &operator=(const CallGate &) = delete;

    /// Runs `work(target)` unless the gate is shut. One thread at a time.
    template <typename Work> void call(Work work)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_target)
                return;
            m_inside = true;
        }
        const Leave leave{*this};
        work(*m_target);
    }

    /// Waits for a call that is under way; none begins afterwards. Not from inside a call.
    void shut()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_inside; });
        m_target = nullptr;
    }

private:
    struct Leave
    {
        ~Leave()
        {
            const std::lock_guard<std::mutex> lock(gate.m_mutex);
            gate.m_inside = false;
            gate.m_changed.notify_all();
        }
        CallGate &gate;
    };

    std::mutex m_mutex; // guards m_inside, and m_target against a change during a call
    std::condition_variable m_changed;
    Target *m_target;
    bool m_inside = false;
};

} // namespace korv
