#include "library/base/step_times.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

using namespace korv;

namespace {

void work()
{
    StepTimes times("photograph");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    times.ended("decode");
    times.ended("encode");
}

[[noreturn]] void workAndExit(const char *level)
{
    ::setenv("KORV_LOG", level, 1);
    work();
    std::exit(0);
}

} // namespace

TEST(StepTimes, writesHowLongEachStepTook)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(workAndExit("debug"), testing::ExitedWithCode(0),
                "^korvcamera: debug: photograph: decode ([2-9][0-9]|[0-9]{3,})\\.[0-9] ms, "
                "encode [0-9]+\\.[0-9] ms\n$");
}

TEST(StepTimes, isSilentByDefault)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(workAndExit("info"), testing::ExitedWithCode(0), "^$");
}
