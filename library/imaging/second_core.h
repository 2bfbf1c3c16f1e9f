#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace korv {

/// Shares work with a second core again and again, for a stream of pictures. The thread is kept from
/// one to the next: one started anew waits behind its maker as often as not when the last has not
/// quite gone yet. It starts with the first work and ends with the object; onTwoCores() is for work
/// that comes once. One thread at a time uses the object.
class SecondCore
{
public:
    SecondCore() = default;
    ~SecondCore();
    SecondCore(const SecondCore &) = delete;
    SecondCore &operator=(const SecondCore &) = delete;

    /// Runs both at the same time where the machine can, else one after the other, and waits for
    /// both. Throws what either throws.
    void share(const std::function<void()> &there, const std::function<void()> &here);

private:
    bool hasThread();
    void hand(const std::function<void()> &work);
    std::exception_ptr waitForIt();
    void serve(); ///< the thread

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const std::function<void()> *m_work = nullptr; ///< until it is done; these three by m_mutex
    std::exception_ptr m_failure;
    bool m_ends = false;
    std::thread m_thread;
};

} // namespace korv
