#include "library/imaging/two_cores.h"

#include "tests/library/support/folder_entries.h"
#include "tests/library/support/wait.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

using namespace korv;
using testing_support::threadCount;

TEST(TwoCores, bothAreDoneWhenItReturns)
{
    std::atomic<int> done = 0;
    onTwoCores([&] { done += 1; }, [&] { done += 2; });
    EXPECT_EQ(done, 3);
}

TEST(TwoCores, failureOfEitherIsHandedOnAndNoThreadIsLeft)
{
    const auto fail = [] { throw std::runtime_error("no"); };
    const auto idle = [] {};
    onTwoCores(idle, idle); // a sanitizer starts a thread of its own beside the first
    const std::ptrdiff_t before = threadCount();
    EXPECT_THROW(onTwoCores(fail, idle), std::runtime_error);
    EXPECT_THROW(onTwoCores(idle, fail), std::runtime_error);
    EXPECT_THROW(onTwoCores(fail, fail), std::runtime_error);
    EXPECT_TRUE(testing_support::becomesTrue([=] { return threadCount() == before; }));
}

TEST(TwoCores, bothHalvesOfARangeAreDoneOnce)
{
    for (const int end : {2, 3, 4, 5, 12}) {
        std::vector<std::atomic<int>> done(12);
        onTwoCores(2, end, [&](int first, int last) {
            for (int i = first; i < last; ++i)
                done[static_cast<std::size_t>(i)] += 1;
        });
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(done[static_cast<std::size_t>(i)], i >= 2 && i < end ? 1 : 0) << i;
    }
}

TEST(TwoCores, whatBothHalvesCollectStaysInOrder)
{
    const auto count = [](int first, int end, std::vector<int> &numbers) {
        for (int i = first; i < end; ++i)
            numbers.push_back(i);
    };
    EXPECT_EQ(collectOnTwoCores<int>(3, 8, count), (std::vector<int>{3, 4, 5, 6, 7}));
    EXPECT_EQ(collectOnTwoCores<int>(3, 4, count), std::vector<int>{3});
    EXPECT_TRUE(collectOnTwoCores<int>(3, 3, count).empty());
}
