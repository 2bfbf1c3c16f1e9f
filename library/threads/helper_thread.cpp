#include "library/threads/helper_thread.h"

#include "library/threads/thread.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace korv {

namespace {

// Steps of a search follow each other sooner. A processor that was put to sleep meanwhile takes as
// long to wake as many a step takes.
constexpr std::chrono::microseconds kSpinTime{100};

/// Spins briefly, yielding the CPU.
template <typename Ready> void waitBriefly(const Ready &ready)
{
    const auto end = std::chrono::steady_clock::now() + kSpinTime;
    while (!ready() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
}

std::exception_ptr failureOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

} // namespace

HelperThread::~HelperThread()
{
    if (!m_thread.joinable())
        return;
    {
        const MutexLock lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notifyOne();
    m_thread.join();
}

bool HelperThread::hasThread()
{
    if (std::thread::hardware_concurrency() < 2)
        return false;
    if (m_thread.joinable())
        return true;
    try {
        m_thread = startThread("korv-half", [this] { run(); });
    } catch (const std::system_error &) {
        return false; // no thread is available
    }
    return true;
}

void HelperThread::run()
{
    const auto hasWork = [this] { return m_work != nullptr || m_stopping; };
    for (;;) {
        waitBriefly(hasWork);
        MutexLock lock(m_mutex);
        while (!hasWork())
            m_changed.wait(lock);
        if (m_work == nullptr)
            return;
        lock.unlock();
        std::exception_ptr failure = failureOf(*m_work);
        lock.lock();
        m_failure = std::move(failure);
        m_work = nullptr;
        m_changed.notifyOne();
    }
}

void HelperThread::submit(const std::function<void()> &work)
{
    {
        const MutexLock lock(m_mutex);
        m_work = &work;
    }
    m_changed.notifyOne();
}

std::exception_ptr HelperThread::join()
{
    const auto isDone = [this] { return m_work == nullptr; };
    waitBriefly(isDone);
    MutexLock lock(m_mutex);
    while (!isDone())
        m_changed.wait(lock);
    return std::exchange(m_failure, nullptr);
}

void HelperThread::runBoth(const std::function<void()> &there, const std::function<void()> &here)
{
    if (!hasThread()) {
        there();
        here();
        return;
    }
    submit(there);
    const std::exception_ptr failure = failureOf(here);
    // in any case: the work is borrowed
    const std::exception_ptr failureThere = join();
    if (failure)
        std::rethrow_exception(failure);
    if (failureThere)
        std::rethrow_exception(failureThere);
}

void HelperThread::shareRange(int first, int end,
                              const std::function<void(int first, int end)> &work)
{
    const int middle = first + (end - first) / 2;
    runBoth([&] { work(middle, end); }, [&] { work(first, middle); });
}

} // namespace korv
