#include "library/threads/helper_thread.h"

#include "tests/library/support/folder_entries.h"
#include "tests/library/support/wait.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace korv;
using testing_support::threadCount;
using testing_support::threadCountAtRest;

namespace {

bool hasTwoCores()
{
    return std::thread::hardware_concurrency() > 1;
}

} // namespace

TEST(HelperThread, bothAreDoneEachTimeItReturns)
{
    HelperThread core;
    std::vector<int> there;
    std::vector<int> here;
    for (int i = 0; i < 500; ++i) {
        core.runBoth([&] { there.push_back(i); }, [&] { here.push_back(i); });
        ASSERT_EQ(there.size(), static_cast<std::size_t>(i + 1));
        ASSERT_EQ(here.size(), there.size());
    }
    EXPECT_EQ(there, here);
}

TEST(HelperThread, failureOfEitherIsHandedOnOnce)
{
    HelperThread core;
    bool done = false;
    const auto fail = [] { throw std::runtime_error("no"); };
    const auto work = [&] { done = true; };
    EXPECT_THROW(core.runBoth(fail, work), std::runtime_error);
    EXPECT_TRUE(done || !hasTwoCores());
    done = false;
    EXPECT_THROW(core.runBoth(work, fail), std::runtime_error);
    EXPECT_TRUE(done);
    EXPECT_THROW(core.runBoth(fail, fail), std::runtime_error);
    done = false;
    EXPECT_NO_THROW(core.runBoth([] {}, work));
    EXPECT_TRUE(done);
}

TEST(HelperThread, oneThreadServesAllWorkAndEndsWithTheObject)
{
    const std::ptrdiff_t before = threadCountAtRest();
    {
        HelperThread unused;
        EXPECT_EQ(threadCount(), before);
    }
    if (hasTwoCores()) {
        HelperThread core;
        std::vector<std::thread::id> threads;
        for (int i = 0; i < 3; ++i)
            core.runBoth([&] { threads.push_back(std::this_thread::get_id()); }, [] {});
        EXPECT_NE(threads[0], std::this_thread::get_id());
        EXPECT_EQ(threads[0], threads[1]);
        EXPECT_EQ(threads[0], threads[2]);
        EXPECT_EQ(threadCount(), before + 1);
    }
    EXPECT_TRUE(testing_support::becomesTrue([=] { return threadCount() == before; }));
}

TEST(HelperThread, bothHalvesOfARangeAreDoneOnce)
{
    HelperThread core;
    for (const int end : {2, 3, 4, 5, 12}) {
        std::vector<std::atomic<int>> done(12);
        core.shareRange(2, end, [&](int first, int last) {
            for (int i = first; i < last; ++i)
                done[static_cast<std::size_t>(i)] += 1;
        });
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(done[static_cast<std::size_t>(i)], i >= 2 && i < end ? 1 : 0) << i;
    }
}

TEST(HelperThread, whatBothHalvesCollectStaysInOrder)
{
    HelperThread core;
    const auto count = [](int first, int end, std::vector<int> &numbers) {
        for (int i = first; i < end; ++i)
            numbers.push_back(i);
    };
    EXPECT_EQ(core.collect<int>(3, 8, count), (std::vector<int>{3, 4, 5, 6, 7}));
    EXPECT_EQ(core.collect<int>(3, 4, count), std::vector<int>{3});
    EXPECT_TRUE(core.collect<int>(3, 3, count).empty());
}
