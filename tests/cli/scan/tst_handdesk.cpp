#include "cli/turns/turndetector.h"
#include "library/device/simulated/hands/hand_frames.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>

namespace {

using cli::Sight;
using cli::SmallColourPicture;
using cli::SmallPicture;
using cli::TurnDetector;

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr int kMinWidth = 240;
constexpr int kFramesPerSecond = 15;

class Closer : public cli::CloserLook
{
public:
    explicit Closer(korv::ByteView frame)
        : m_frame(frame)
    {
    }

    double sharpness() override
    {
        SmallPicture half;
        EXPECT_TRUE(cli::decodeSmall(m_frame.data, m_frame.size, kWidth / 2, half));
        return cli::sharpnessOf(half);
    }
    SmallColourPicture colours() override
    {
        SmallColourPicture picture;
        EXPECT_TRUE(cli::decodeSmall(m_frame.data, m_frame.size, kMinWidth, picture));
        return picture;
    }

private:
    korv::ByteView m_frame;
};

/// What a frame of the simulated desk says is to be seen.
struct Account
{
    int page = -1;
    int hand = -1;
    double still = -1;
};

Account accountOf(korv::ByteView frame)
{
    constexpr char kStart[] = "korv-desk";
    Account account;
    const void *const found = memmem(frame.data, frame.size, kStart, sizeof kStart - 1);
    if (found)
        std::sscanf(static_cast<const char *>(found),
                    "korv-desk frame=%*d page=%d hand=%d still=%lf", &account.page, &account.hand,
                    &account.still);
    return account;
}

/// Pages that each kind of desk turns; KORV_TURNS turns more of them.
int turnsWanted()
{
    const char *const text = std::getenv("KORV_TURNS");
    return text ? std::atoi(text) : 3;
}

class HandDesk : public testing::TestWithParam<const char *>
{
};

} // namespace

TEST_P(HandDesk, everyPageIsTakenOnceWithoutAHandAndSoonAfterAllIsStill)
{
    const auto options = korv::readHandDesk(GetParam());
    ASSERT_TRUE(options);
    korv::HandFrames frames(options.value(), kWidth, kHeight);
    TurnDetector detector;
    SmallPicture small;
    std::map<int, int> taken;
    Account account;
    for (int number = 0; account.page < turnsWanted() || account.still < 0.9; ++number) {
        const auto frame = frames.frame(number);
        ASSERT_TRUE(frame);
        account = accountOf(frame.value());
        ASSERT_GE(account.page, 0);
        const TurnDetector::Clock::time_point when{
            std::chrono::nanoseconds(std::chrono::seconds(number)) / kFramesPerSecond};
        if (!detector.wantsToLook(when))
            continue;
        ASSERT_TRUE(cli::decodeSmall(frame.value().data, frame.value().size, kMinWidth, small));
        Closer closer(frame.value());
        const Sight sight = detector.look(small, when, closer);
        if (account.still > 0.7) {
            EXPECT_EQ(taken.count(account.page), 1U) << "page " << account.page << " is still open";
        }
        if (sight != Sight::Turned)
            continue;
        detector.taken(closer);
        EXPECT_EQ(account.hand, 0) << "page " << account.page;
        EXPECT_EQ(++taken[account.page], 1) << "page " << account.page << ", frame " << number;
    }
    EXPECT_EQ(static_cast<int>(taken.size()), account.page + 1);
}

INSTANTIATE_TEST_SUITE_P(lightAndPaper, HandDesk,
                         testing::Values("hands,seed=2,light=day,paper=white",
                                         "hands,seed=3,light=lamp,paper=cream",
                                         "hands,seed=4,light=dim,paper=recycled",
                                         "hands,seed=5,light=window,paper=glossy"));
