#include "library/threads/row_gate.h"

namespace korv {

void RowGate::publish(int rows)
{
    {
        const MutexLock lock(m_mutex);
        m_rows.store(rows, std::memory_order_release);
    }
    m_changed.notifyAll();
}

void RowGate::end()
{
    {
        const MutexLock lock(m_mutex);
        m_ended = true;
    }
    m_changed.notifyAll();
}

bool RowGate::waitFor(int rows)
{
    // once the filling thread is ahead, no lock is needed
    if (m_rows.load(std::memory_order_acquire) >= rows)
        return true;
    MutexLock lock(m_mutex);
    while (!m_ended && m_rows.load() < rows)
        m_changed.wait(lock);
    return m_rows.load() >= rows;
}

} // namespace korv
