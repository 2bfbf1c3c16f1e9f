#include "util/spinlock.h"

#include <gmock/gmock.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

/// What the annotations are for: a member that names its lock.
struct SpinCounter
{
    SpinLock lock;
    long value GUARDED_BY(lock) = 0;
};

bool isTaken(SpinLock &lock)
{
    if (!lock.try_lock())
        return true;
    lock.unlock();
    return false;
}

} // namespace

TEST(SpinLock, oneByte)
{
    EXPECT_EQ(sizeof(SpinLock), 1U);
}

TEST(SpinLock, tryLockTellsWhetherSomebodyHoldsIt)
{
    SpinLock lock;
    EXPECT_FALSE(isTaken(lock));
    lock.lock();
    EXPECT_TRUE(isTaken(lock));
    lock.unlock();
    EXPECT_FALSE(isTaken(lock));
}

TEST(SpinLock, guardHoldsForItsBlock)
{
    SpinLock lock;
    {
        const SpinGuard guard{lock};
        std::thread{[&] { EXPECT_TRUE(isTaken(lock)); }}.join();
    }
    EXPECT_FALSE(isTaken(lock));
}

TEST(SpinLock, worksWithStandardGuards)
{
    SpinLock lock;
    const std::unique_lock<SpinLock> guard{lock};
    EXPECT_TRUE(isTaken(lock));
}

TEST(SpinLock, threadsNeverMeetInside)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    SpinCounter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const SpinGuard guard{counter.lock};
                ++counter.value;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const SpinGuard guard{counter.lock};
    EXPECT_EQ(counter.value, kThreads * kRounds);
}
