#include "library/imaging/two_cores.h"

#include "tests/library/support/wait.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace korv;

namespace {

std::ptrdiff_t threadCount()
{
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

} // namespace

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
    // the kernel forgets a thread a moment after it was joined
    EXPECT_TRUE(testing_support::becomesTrue([=] { return threadCount() == before; }));
}
