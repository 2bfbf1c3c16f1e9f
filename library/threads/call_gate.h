#pragma once

#include "library/threads/mutex.h"

namespace korv {

/// Guards a borrowed callback target so that its owner can detach from a thread that cannot be
/// joined. The thread keeps the gate; the owner shuts it before the target goes. No lock is held
/// during a call.
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
        Target *target;
        {
            const MutexLock lock(m_mutex);
            if (!m_target)
                return;
            target = m_target;
            m_inside = true;
        }
        const Leave leave{*this};
        work(*target);
    }

    /// Waits for a call that is under way; none begins afterwards. Not from inside a call.
    void shut()
    {
        MutexLock lock(m_mutex);
        while (m_inside)
            m_changed.wait(lock);
        m_target = nullptr;
    }

private:
    struct Leave
    {
        ~Leave()
        {
            const MutexLock lock(gate.m_mutex);
            gate.m_inside = false;
            gate.m_changed.notifyAll();
        }
        CallGate &gate;
    };

    Mutex m_mutex;
    Condition m_changed;
    Target *m_target GUARDED_BY(m_mutex);
    bool m_inside GUARDED_BY(m_mutex) = false;
};

} // namespace korv
