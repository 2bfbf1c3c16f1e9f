#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace testing_support {

/// Long enough for a loaded machine with a sanitizer; a test that passes never waits that long.
inline constexpr std::chrono::seconds kLimit(60);

/// Waits for a condition that nothing announces.
template <typename Condition> bool becomesTrue(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// A gate that one thread opens and others wait at.
class Gate
{
public:
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }
    bool wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock, std::chrono::system_clock::now() + kLimit,
                                    [this] { return m_isOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

} // namespace testing_support
