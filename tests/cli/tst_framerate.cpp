#include "cli/advice/framerate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using cli::FrameRate;
using cli::measureRate;
using cli::rateProblem;
using testing::HasSubstr;

using Clock = cli::Wakeup::Clock;

std::vector<Clock::time_point> every(std::chrono::milliseconds distance, int count)
{
    std::vector<Clock::time_point> arrivals;
    for (int i = 0; i < count; ++i)
        arrivals.emplace_back(1s + i * distance);
    return arrivals;
}

const Clock::time_point kEnd{3s};

TEST(FrameRate, promisedRateHasNoProblem)
{
    const FrameRate rate = measureRate(every(66ms, 31), kEnd, 15);
    EXPECT_NEAR(rate.measured, 15, 0.1);
    EXPECT_EQ(rate.missing, 0);
    EXPECT_EQ(rateProblem(rate), "");
}

TEST(FrameRate, halfOfTheFramesIsDimLightAndNoProblemYet)
{
    EXPECT_EQ(rateProblem(measureRate(every(132ms, 16), kEnd, 15)), "");
}

TEST(FrameRate, oneFrameInThreeIsAProblem)
{
    const FrameRate rate = measureRate(every(200ms, 11), kEnd, 15);
    EXPECT_EQ(rate.missing, 20);
    EXPECT_THAT(rateProblem(rate), HasSubstr("only 5.0 pictures a second of 15.0, 20 of 30"));
}

TEST(FrameRate, singleFrameIsAProblemWhateverIsPromised)
{
    EXPECT_THAT(rateProblem(measureRate(every(2s, 1), kEnd, 15)), HasSubstr("30 of 30"));
    EXPECT_THAT(rateProblem(measureRate(every(2s, 1), kEnd, std::nullopt)),
                HasSubstr("only 0.0 pictures a second;"));
    EXPECT_EQ(measureRate({}, kEnd, 15).arrived, 0);
}

TEST(FrameRate, gapsShowWhatIsLeftOutWhereNothingIsPromised)
{
    EXPECT_EQ(rateProblem(measureRate(every(200ms, 11), kEnd, std::nullopt)), "");
    std::vector<Clock::time_point> bursts; // two frames, then eight that are left out
    for (int i = 0; i < 10; ++i)
        bursts.insert(
            bursts.end(),
            {Clock::time_point(1s + i * 200ms), Clock::time_point(1s + i * 200ms + 20ms)});
    const FrameRate rate = measureRate(bursts, kEnd, std::nullopt);
    EXPECT_EQ(rate.missing, 9 * 8);
    EXPECT_THAT(rateProblem(rate), HasSubstr("72 of 91 were left out"));
}

} // namespace
