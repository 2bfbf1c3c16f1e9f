#include "library/output/row_gate.h"

namespace korv {

void RowGate::publish(int rows)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_rows.store(rows, std::memory_order_release);
    }
    m_changed.notify_all();
}

void RowGate::end()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_all();
}

bool RowGate::waitFor(int rows)
{
    // once the filling thread is ahead, no lock is needed
    if (m_rows.load(std::memory_order_acquire) >= rows)
        return true;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return m_ended || m_rows.load() >= rows; });
    return m_rows.load() >= rows;
}

} // namespace korv
