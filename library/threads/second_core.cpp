#include "library/threads/second_core.h"

#include "library/threads/thread.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace korv {

namespace {

// Steps of a search follow each other sooner. A processor that was put to sleep meanwhile takes as
// long to wake as many a step takes.
constexpr std::chrono::microseconds kBriefly{100};

/// Looks again and again, but not for long, and not in the way of anybody on the same processor.
template <typename Ready> void waitBriefly(const Ready &ready)
{
    const auto end = std::chrono::steady_clock::now() + kBriefly;
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

SecondCore::~SecondCore()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

bool SecondCore::hasThread()
{
    if (std::thread::hardware_concurrency() < 2)
        return false;
    if (m_thread.joinable())
        return true;
    try {
        m_thread = startThread("korv-half", [this] { serve(); });
    } catch (const std::system_error &) {
        return false; // no thread to be had
    }
    return true;
}

void SecondCore::serve()
{
    const auto hasWork = [this] { return m_work != nullptr || m_ends; };
    for (;;) {
        waitBriefly(hasWork);
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, hasWork);
        if (m_work == nullptr)
            return;
        lock.unlock();
        std::exception_ptr failure = failureOf(*m_work);
        lock.lock();
        m_failure = std::move(failure);
        m_work = nullptr;
        m_changed.notify_one();
    }
}

void SecondCore::hand(const std::function<void()> &work)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work = &work;
    }
    m_changed.notify_one();
}

std::exception_ptr SecondCore::waitForIt()
{
    const auto isDone = [this] { return m_work == nullptr; };
    waitBriefly(isDone);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, isDone);
    return std::exchange(m_failure, nullptr);
}

void SecondCore::share(const std::function<void()> &there, const std::function<void()> &here)
{
    if (!hasThread()) {
        there();
        here();
        return;
    }
    hand(there);
    const std::exception_ptr failure = failureOf(here);
    // in any case: the work is borrowed
    const std::exception_ptr failureThere = waitForIt();
    if (failure)
        std::rethrow_exception(failure);
    if (failureThere)
        std::rethrow_exception(failureThere);
}

void SecondCore::shareRange(int first, int end, const std::function<void(int first, int end)> &work)
{
    const int middle = first + (end - first) / 2;
    share([&] { work(middle, end); }, [&] { work(first, middle); });
}

} // namespace korv
