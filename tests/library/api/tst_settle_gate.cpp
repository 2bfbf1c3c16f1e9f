#include "library/api/settle_gate.h"

#include "library/api/stream_receiver.h"
#include "tests/library/support/pictures.h"

#include <atomic>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using korv::Bytes;
using korv::SettleGate;
using korv::StreamReceiver;
using testing_support::jpegOf;
using testing_support::plainImage;

namespace {

Bytes picture(int gray)
{
    return jpegOf(plainImage(64, 48, {gray, gray, gray}));
}

/// A gate and a clock that runs at 15 frames a second.
class SettleGateTest : public testing::Test
{
protected:
    bool lets(const Bytes &jpeg)
    {
        m_now += 66ms;
        return m_gate.lets({jpeg, 64, 48}, m_now);
    }

    SettleGate m_gate;
    SettleGate::TimePoint m_now{};
};

int received = 0;

int countSettledFrame(void *, int, int, int)
{
    ++received;
    return 0;
}

} // namespace

TEST_F(SettleGateTest, opensWhenThePictureHasSettledAndStaysOpen)
{
    for (int gray = 20; gray <= 120; gray += 10)
        EXPECT_FALSE(lets(picture(gray))) << gray;
    int withheld = 0;
    while (!lets(picture(120)))
        ++withheld;
    EXPECT_LE(withheld, 5);
    EXPECT_TRUE(lets(picture(20)));
}

TEST_F(SettleGateTest, opensAfterThreeSecondsAtLatest)
{
    int withheld = 0;
    while (!lets(picture(withheld % 2 == 0 ? 20 : 200)))
        ++withheld;
    EXPECT_NEAR(withheld * 0.066, 3, 0.1);
}

TEST_F(SettleGateTest, doesNotHoldBackWhatItCannotJudge)
{
    EXPECT_TRUE(lets(Bytes(100, 0)));
}

TEST(StreamReceiver, withholdsFramesOnlyWhenToldTo)
{
    const std::atomic<bool> silent{false};
    const Bytes jpeg = picture(100);
    received = 0;
    StreamReceiver plain(countSettledFrame, silent, "");
    plain.onFrame({jpeg, 64, 48});
    EXPECT_EQ(received, 1);

    received = 0;
    StreamReceiver settled(countSettledFrame, silent, "", StreamReceiver::From::Settled);
    settled.onFrame({jpeg, 64, 48});
    settled.onFrame({jpeg, 64, 48});
    EXPECT_EQ(received, 0);
    settled.onFrame({jpeg, 64, 48});
    settled.onFrame({jpeg, 64, 48});
    EXPECT_EQ(received, 2);
}
