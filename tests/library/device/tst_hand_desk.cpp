#include "library/device/simulated/hands/hand_frames.h"
#include "library/device/simulated/hands/hand_monitor.h"
#include "library/jpeg/jpeg.h"

#include "tests/library/support/frame_keeper.h"
#include "tests/library/support/pictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

using namespace korv;
using testing::HasSubstr;

namespace {

HandDeskOptions optionsOf(const std::string &text)
{
    const auto options = readHandDesk(text);
    EXPECT_TRUE(options) << text;
    return options ? options.value() : HandDeskOptions();
}

Bytes frameOf(HandFrames &frames, std::int64_t number)
{
    const auto frame = frames.frame(number);
    EXPECT_TRUE(frame);
    return frame ? Bytes(frame.value().begin(), frame.value().end()) : Bytes();
}

/// The frame's own account of what is to be seen.
struct Account
{
    int page = -1;
    int hand = -1;
    double still = -2;
};

Account accountOf(const Bytes &frame)
{
    const std::string text(frame.begin(), frame.begin() + 200);
    const std::size_t at = text.find("korv-desk");
    Account account;
    if (at != std::string::npos)
        std::sscanf(text.c_str() + at, "korv-desk frame=%*d page=%d hand=%d still=%lf",
                    &account.page, &account.hand, &account.still);
    return account;
}

class NoObserver : public DeviceObserver
{
public:
    void onArrival(const DeviceIdentity &device) override { name = device.name; }
    void onDeparture(const std::string &) override { }

    std::string name;
};

} // namespace

TEST(handDeskOptions, areReadInAnyOrder)
{
    const HandDeskOptions plain = optionsOf("hands");
    EXPECT_EQ(plain.seed, 1U);
    EXPECT_EQ(plain.speed, 1);
    EXPECT_EQ(plain.turns, 0);
    const HandDeskOptions all =
        optionsOf("hands,paper=glossy,seed=18446744073709551615,turns=7,light=window,speed=0.5");
    EXPECT_EQ(all.seed, 18446744073709551615U);
    EXPECT_EQ(all.speed, 0.5);
    EXPECT_EQ(all.turns, 7);
    EXPECT_EQ(all.light, DeskLight::Window);
    EXPECT_EQ(all.paper, DeskPaper::Glossy);
}

TEST(handDeskOptions, wrongWordsAreNamed)
{
    for (const char *wrong : {"seed=", "seed=-1", "seed=1x", "speed=0", "speed=11", "speed=nan",
                              "turns=-1", "light", "light=sun", "paper=", "colour=red", "=", ""}) {
        const auto options = readHandDesk(std::string("hands,") + wrong + ",seed=1");
        ASSERT_FALSE(options) << wrong;
        EXPECT_EQ(options.code(), -EINVAL);
        EXPECT_THAT(options.error().text, HasSubstr("'" + std::string(wrong) + "'"));
    }
    EXPECT_THAT(readHandDesk("feet").error().text, HasSubstr("'feet'"));
}

TEST(handScript, pagesGoUpOneByOneAndRestWithoutAHand)
{
    HandScript script(3, 1, 0);
    int page = 0;
    int visits = 0;
    int pagesAtRest = 0;
    bool hadHand = false;
    for (int frame = 0; frame < 15 * 600; ++frame) {
        const DeskMoment moment = script.at(frame / 15.0);
        ASSERT_TRUE(moment.page == page || moment.page == page + 1) << frame;
        pagesAtRest += moment.page > page ? 1 : 0;
        page = moment.page;
        visits += moment.hand && !hadHand ? 1 : 0;
        hadHand = moment.hand.has_value();
        if (moment.stillFor) {
            EXPECT_FALSE(moment.hand || moment.moving);
            EXPECT_EQ(moment.zoom, 1);
        }
    }
    EXPECT_GT(pagesAtRest, 100);
    EXPECT_GT(visits, pagesAtRest) << "some only touch the page";
}

TEST(handScript, endsAfterItsTurns)
{
    HandScript script(5, 10, 3);
    static_cast<void>(script.at(1000));
    const DeskMoment end = script.at(2000);
    EXPECT_LE(end.page, 3);
    EXPECT_FALSE(end.hand);
    ASSERT_TRUE(end.stillFor);
    EXPECT_GT(*end.stillFor, 1900);
}

TEST(handFrames, sameOptionsGiveTheSameFrames)
{
    const HandDeskOptions options = optionsOf("hands,seed=9,speed=4,light=lamp,paper=cream");
    HandFrames first(options, 320, 240);
    HandFrames second(options, 320, 240);
    HandFrames other(optionsOf("hands,seed=10,speed=4,light=lamp,paper=cream"), 320, 240);
    for (const std::int64_t number : {0, 3, 9, 11, 40}) {
        const Bytes frame = frameOf(first, number);
        EXPECT_EQ(frame, frameOf(second, number)) << number;
        EXPECT_NE(frame, frameOf(other, number)) << number;
    }
}

TEST(handFrames, everyFrameIsACompletePictureAndTellsWhatIsToBeSeen)
{
    HandFrames frames(optionsOf("hands,speed=4"), 320, 240);
    bool sawHand = false;
    bool sawRest = false;
    int page = 0;
    for (std::int64_t number = 0; number < 60; ++number) {
        const Bytes frame = frameOf(frames, number);
        ASSERT_EQ(testing_support::jpegEnd(frame).value(), frame.size());
        const Account account = accountOf(frame);
        ASSERT_GE(account.page, page);
        page = account.page;
        ASSERT_TRUE(account.hand == 0 || account.hand == 1);
        sawHand = sawHand || account.hand == 1;
        sawRest = sawRest || account.still >= 0;
        EXPECT_FALSE(account.hand == 1 && account.still >= 0);
    }
    EXPECT_TRUE(sawHand && sawRest);
    EXPECT_GT(page, 0);
    const auto decoded = jpeg::decode(frameOf(frames, 61));
    ASSERT_TRUE(decoded) << decoded.error().text;
    EXPECT_EQ(decoded.value().width(), 320);
    EXPECT_EQ(decoded.value().height(), 240);
}

TEST(handFrames, lampFlickersInBandsAndDimLightIsNoisy)
{
    const auto spread = [](const char *text) {
        HandFrames frames(optionsOf(text), 320, 240);
        const auto one = jpeg::decode(frameOf(frames, 0));
        const auto two = jpeg::decode(frameOf(frames, 1));
        double most = 0;
        double each = 0;
        for (int y = 0; y < 240; ++y) {
            double row = 0;
            for (int x = 0; x < 960; ++x) {
                const int difference = one.value().row(y)[x] - two.value().row(y)[x];
                row += difference;
                each += std::abs(difference);
            }
            most = std::max(most, std::abs(row) / 960);
        }
        return std::pair(most, each / (960.0 * 240));
    };
    const auto [dayRow, dayPixel] = spread("hands,light=day");
    EXPECT_GT(spread("hands,light=lamp").first, 3 * dayRow);
    EXPECT_GT(spread("hands,light=dim").second, 1.5 * dayPixel);
}

TEST(handFrames, stopWakesWhoWaitsForAPage)
{
    HandFrames frames(optionsOf("hands"), 3264, 2448);
    std::thread stopper([&] { frames.stop(); });
    while (frames.waitUntilReady()) { }
    const auto frame = frames.frame(100'000);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.value().size, 0U);
    stopper.join();
}

TEST(handMonitor, offersOneCameraThatStreams)
{
    HandMonitor monitor(optionsOf("hands"));
    NoObserver observer;
    ASSERT_TRUE(monitor.start(observer));
    EXPECT_EQ(observer.name, "Simulated Desk with Hands");
    EXPECT_EQ(monitor.open("builtin").code(), -ENODEV);
    auto camera = monitor.open("hands");
    ASSERT_TRUE(camera);
    testing_support::FrameKeeper frames;
    ASSERT_TRUE(camera.value()->selectMode(camera.value()->modes().back().number));
    ASSERT_TRUE(camera.value()->start(frames));
    EXPECT_TRUE(testing_support::becomesTrue([&] { return frames.count() > 2; }));
    EXPECT_TRUE(camera.value()->stop());
    EXPECT_EQ(frames.width(), 640);
    EXPECT_EQ(accountOf(frames.latest()).page, 0);
}
