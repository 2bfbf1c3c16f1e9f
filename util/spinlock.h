#pragma once

#include "util/threadannotations.h"

#include <atomic>

/// A lock of one byte for sections of a few instructions. Waiting burns the processor and never
/// sleeps; taking it twice on one thread never ends.
class CAPABILITY("spin lock") SpinLock
{
public:
    SpinLock() = default;
    SpinLock(const SpinLock &) = delete;
    SpinLock &operator=(const SpinLock &) = delete;

    void lock() ACQUIRE()
    {
        while (m_taken.exchange(1) != 0)
            pause();
    }

    /// Takes the lock if nobody holds it; tells whether it did.
    bool try_lock() TRY_ACQUIRE(true) { return m_taken.exchange(1) == 0; }

    // sequentially consistent: a full barrier, and one that ThreadSanitizer understands
    void unlock() RELEASE() { m_taken.store(0); }

private:
    static void pause()
    {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
        __asm__ __volatile__("yield");
#endif
    }

    std::atomic<unsigned char> m_taken{0};
};

static_assert(sizeof(SpinLock) == 1, "the lock is one byte");

/// Holds a SpinLock for the length of a block.
class SCOPED_CAPABILITY SpinGuard
{
public:
    explicit SpinGuard(SpinLock &lock) ACQUIRE(lock)
        : m_lock{lock}
    {
        m_lock.lock();
    }
    ~SpinGuard() RELEASE() { m_lock.unlock(); }
    SpinGuard(const SpinGuard &) = delete;
    SpinGuard &operator=(const SpinGuard &) = delete;

private:
    SpinLock &m_lock;
};
