#include "util/spinlock.h"

#include <gmock/gmock.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

/// What the annotations are for: a member that names its lock.
struct Counter
{
    SpinLock lock;
    long value GUARDED_BY(lock) = 0;
};

} // namespace

TEST(SpinLock, oneByte)
{
    EXPECT_EQ(sizeof(SpinLock), 1U);
}

TEST(SpinLock, tryLockTellsWhetherSomebodyHoldsIt)
{
    SpinLock lock;
    ASSERT_TRUE(lock.try_lock());
    EXPECT_FALSE(lock.try_lock());
    lock.unlock();
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
}

TEST(SpinLock, guardHoldsForItsBlock)
{
    SpinLock lock;
    {
        const SpinGuard guard{lock};
        std::thread{[&] { EXPECT_FALSE(lock.try_lock()); }}.join();
    }
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
}

TEST(SpinLock, worksWithStandardGuards)
{
    SpinLock lock;
    const std::unique_lock<SpinLock> guard{lock};
    EXPECT_FALSE(lock.try_lock());
}

TEST(SpinLock, threadsNeverMeetInside)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    Counter counter;
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
