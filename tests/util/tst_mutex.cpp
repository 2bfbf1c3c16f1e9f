#include "util/mutex.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

/// A box that one thread puts a number into and another takes it from.
class Box
{
public:
    void put(int number)
    {
        const MutexLock lock(m_mutex);
        m_number = number;
        m_changed.notifyOne();
    }

    int take()
    {
        MutexLock lock(m_mutex);
        while (m_number == 0)
            m_changed.wait(lock);
        const int number = m_number;
        m_number = 0;
        return number;
    }

    bool isFilledWithin(std::chrono::milliseconds time)
    {
        const auto end = Condition::Clock::now() + time;
        MutexLock lock(m_mutex);
        while (m_number == 0) {
            if (!m_changed.waitUntil(lock, end))
                return m_number != 0;
        }
        return true;
    }

private:
    Mutex m_mutex;
    Condition m_changed;
    int m_number GUARDED_BY(m_mutex) = 0;
};

struct Counter
{
    Mutex mutex;
    int count GUARDED_BY(mutex) = 0;
};

} // namespace

TEST(Mutex, oneThreadAtATimeIsInside)
{
    constexpr int kRounds = 10000;
    Counter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&counter] {
            for (int round = 0; round < kRounds; ++round) {
                const MutexLock lock(counter.mutex);
                ++counter.count;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const MutexLock lock(counter.mutex);
    EXPECT_EQ(counter.count, 3 * kRounds);
}

TEST(Mutex, unlockingOpensAGapInTheBlock)
{
    Counter counter;
    MutexLock lock(counter.mutex);
    counter.count = 1;
    lock.unlock();
    std::thread([&counter] {
        const MutexLock other(counter.mutex);
        counter.count = 2;
    }).join();
    lock.lock();
    EXPECT_EQ(counter.count, 2);
}

TEST(Condition, aWaitEndsWithTheCause)
{
    Box box;
    std::thread filler([&box] { box.put(7); });
    EXPECT_EQ(box.take(), 7);
    filler.join();
}

TEST(Condition, aWaitEndsWithTheTime)
{
    Box box;
    const auto begin = Condition::Clock::now();
    EXPECT_FALSE(box.isFilledWithin(20ms));
    EXPECT_GE(Condition::Clock::now() - begin, 20ms);
    box.put(1);
    EXPECT_TRUE(box.isFilledWithin(0ms));
}
