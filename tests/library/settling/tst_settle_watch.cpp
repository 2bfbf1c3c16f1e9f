#include "library/settling/settle_watch.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>

using korv::FrameMeasure;
using korv::SettleWatch;

namespace {

using Scene = std::function<FrameMeasure(double seconds)>;

/// What became of a photograph.
struct Outcome
{
    int frames = 0; ///< until it was taken, this one included
    double seconds = 0; ///< since the first frame
    bool settled = false; ///< otherwise the time was up
    FrameMeasure measure;
};

/// Takes a photograph of a scene at `rate` frames a second.
Outcome photograph(const Scene &scene, double rate = 15)
{
    SettleWatch watch;
    Outcome outcome;
    for (;;) {
        const double time = outcome.frames++ / rate;
        const SettleWatch::TimePoint when = SettleWatch::TimePoint(std::chrono::hours(1))
            + std::chrono::microseconds(static_cast<long>(time * 1e6));
        outcome.measure = scene(time);
        outcome.seconds = time;
        outcome.settled = watch.add(outcome.measure, when);
        if (outcome.settled || when >= *watch.deadline())
            return outcome;
    }
}

FrameMeasure still()
{
    return {120, 400};
}

void expectAsGoodAs(const FrameMeasure &settled, const Outcome &outcome)
{
    EXPECT_NEAR(outcome.measure.brightness, settled.brightness, 0.03 * settled.brightness);
    EXPECT_GE(outcome.measure.sharpness, 0.95 * settled.sharpness);
    EXPECT_TRUE(outcome.settled);
    EXPECT_LE(outcome.seconds, 3);
}

} // namespace

TEST(SettleWatch, settledPictureCostsTwoFrames)
{
    const Outcome outcome = photograph([](double) { return still(); });
    EXPECT_TRUE(outcome.settled);
    EXPECT_EQ(outcome.frames, 3);
}

TEST(SettleWatch, noiseIsNoMovement)
{
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 1);
    for (int attempt = 0; attempt < 100; ++attempt) {
        // what is left of a sensor's noise in the mean over a picture
        const Outcome outcome = photograph([&](double) {
            return FrameMeasure{120 + 0.05 * noise(random), 400 + 0.5 * noise(random)};
        });
        EXPECT_LE(outcome.frames, 3);
    }
}

TEST(SettleWatch, exponentialApproachIsWaitedFor)
{
    for (const double constant : {0.05, 0.1, 0.2, 0.3, 0.5}) {
        const Outcome outcome = photograph([&](double time) {
            const double rest = std::exp(-time / constant);
            return FrameMeasure{120 * (1 - rest), 400 * (1 - rest) * (1 - rest)};
        });
        SCOPED_TRACE(constant);
        expectAsGoodAs(still(), outcome);
    }
}

TEST(SettleWatch, rampsAreWaitedFor)
{
    for (const double length : {0.2, 0.5, 1.0, 2.0, 2.5}) {
        for (const double rate : {5.0, 15.0, 30.0}) {
            const Outcome outcome = photograph(
                [&](double time) {
                    const double part = std::min(1.0, time / length);
                    return FrameMeasure{40 + 80 * part, 100 + 300 * part};
                },
                rate);
            SCOPED_TRACE(std::to_string(length) + " s at " + std::to_string(rate));
            expectAsGoodAs(still(), outcome);
        }
    }
}

TEST(SettleWatch, stepsOfAnExposureControlAreNotTakenForRest)
{
    // such controls wait for a frame or two before they judge what they did
    const Outcome outcome = photograph([](double time) {
        const double step = std::min(8.0, std::floor(time * 15 / 2));
        return FrameMeasure{40 + 10 * step, 400};
    });
    expectAsGoodAs(still(), outcome);
}

TEST(SettleWatch, turnsOfAHuntForFocusAreNotTakenForRest)
{
    // sharper, past the sharpest point, softer, and back
    const Outcome outcome = photograph([](double time) {
        const double lens =
            time < 1.5 ? std::cos(time * 4) : std::cos(6.0) * std::exp(-(time - 1.5) * 8);
        return FrameMeasure{120, 400 - 300 * lens * lens};
    });
    expectAsGoodAs(still(), outcome);
}

TEST(SettleWatch, flickerIsNotWaitedForLongerThanASecond)
{
    const Outcome outcome = photograph([](double time) {
        return FrameMeasure{120 + 2.5 * std::sin(time * 2 * 3.14159 * 3.3), 400};
    });
    EXPECT_TRUE(outcome.settled);
    EXPECT_LE(outcome.seconds, 1.3);
}

TEST(SettleWatch, nothingIsWaitedForLongerThanThreeSeconds)
{
    const Outcome outcome = photograph([](double time) {
        return FrameMeasure{10 + 40 * time, 400};
    });
    EXPECT_FALSE(outcome.settled);
    EXPECT_NEAR(outcome.seconds, 3, 0.07);
}

TEST(SettleWatch, darknessSettlesToo)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> noise(0, 0.05);
    const Outcome outcome = photograph([&](double) {
        return FrameMeasure{0.5 + noise(random), noise(random)};
    });
    EXPECT_EQ(outcome.frames, 3);
}

TEST(SettleWatch, nextPhotographOfTheSameSceneCostsNoFrame)
{
    SettleWatch watch;
    SettleWatch::TimePoint now{};
    const auto add = [&](const FrameMeasure &measure) {
        now += std::chrono::milliseconds(66);
        return watch.add(measure, now);
    };
    while (!add(still())) { }
    now += std::chrono::minutes(1);
    watch.startOver();
    EXPECT_TRUE(add(still()));
    // a page was turned meanwhile
    watch.startOver();
    EXPECT_FALSE(add({140, 300}));
    EXPECT_FALSE(add({140, 300}));
    EXPECT_TRUE(add({140, 300}));
}
