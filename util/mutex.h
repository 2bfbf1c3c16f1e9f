#pragma once

#include "util/threadannotations.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// A std::mutex that clang's lock analysis knows: members say what guards them with GUARDED_BY, and
/// a build with -Wthread-safety refuses code that touches them without the lock.
class CAPABILITY("mutex") Mutex
{
public:
    Mutex() = default;
    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;

    void lock() ACQUIRE() { m_mutex.lock(); }
    void unlock() RELEASE() { m_mutex.unlock(); }

private:
    friend class MutexLock;
    std::mutex m_mutex;
};

/// Holds a Mutex for the length of a block. unlock() and lock() open a gap in it, in pairs.
class SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex &mutex) ACQUIRE(mutex)
        : m_lock(mutex.m_mutex)
    {
    }
    ~MutexLock() RELEASE() = default;
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    void lock() ACQUIRE() { m_lock.lock(); }
    void unlock() RELEASE() { m_lock.unlock(); }

private:
    friend class Condition;
    std::unique_lock<std::mutex> m_lock;
};

/// What threads wait for and are woken by. The waits give the lock up while they sleep and hold it
/// again when they return, also when they wake without cause, so ask for the cause in a loop:
///
///     MutexLock lock(m_mutex);
///     while (!m_ready)
///         m_changed.wait(lock);
///
/// There are no waits with a predicate: the analysis would not see that it runs with the lock held.
class Condition
{
public:
    using Clock = std::chrono::steady_clock;

    void wait(MutexLock &lock) { m_condition.wait(lock.m_lock); }

    /// False when the time has come. Ask for the cause once more then.
    [[nodiscard]] bool waitUntil(MutexLock &lock, Clock::time_point time)
    {
        return m_condition.wait_until(lock.m_lock, time) == std::cv_status::no_timeout;
    }

    void notifyOne() { m_condition.notify_one(); }
    void notifyAll() { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};
