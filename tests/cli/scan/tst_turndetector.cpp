#include "cli/turns/turndetector.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace std::chrono_literals;
using cli::Sight;
using cli::SmallColourPicture;
using cli::SmallPicture;
using cli::TurnDetector;

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr auto kFrame = std::chrono::microseconds(66'667);

using Colour = std::array<double, 3>;
constexpr Colour kDesk{112, 78, 52};
constexpr Colour kPaper{240, 240, 236};
constexpr Colour kSkin{205, 160, 130};
constexpr Colour kNavy{70, 84, 120}; ///< about as bright as the desk

struct Box
{
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
};

/// A desk, drawn as a camera shows it.
class Desk : public cli::CloserLook
{
public:
    Desk() { empty(); }

    void empty() { fill({0, 0, kWidth, kHeight}, kDesk); }

    /// A sheet with words that belong to `page`, moved by `nudge` pixels.
    void lay(int page, double nudge = 0)
    {
        empty();
        fill({90 + nudge, 20 + nudge / 2, 230 + nudge, 220 + nudge / 2}, kPaper);
        std::mt19937 generator(static_cast<unsigned>(page));
        const auto chance = [&](unsigned many) { return static_cast<double>(generator() % many); };
        for (double y = 35; y < 205; y += 7) {
            for (double x = 100; x < 215;) {
                const double word = 4 + chance(14);
                fill({x + nudge, y + nudge / 2, std::min(x + word, 222.0) + nudge,
                      y + nudge / 2 + 2},
                     {60, 60, 64});
                x += word + 3 + chance(4);
            }
        }
    }

    /// An arm from the right edge to the middle of the sheet; `tremor` moves it by that many pixels.
    void reachIn(const Colour &sleeve, double tremor = 0, double reach = 160)
    {
        fill({kWidth - reach, 110 + tremor, kWidth, 150 + tremor}, kSkin);
        fill({kWidth - 50, 105 + tremor, kWidth, 155 + tremor}, sleeve);
    }

    /// With anti-aliased edges.
    void fill(const Box &box, const Colour &colour)
    {
        const auto covered = [](double at, double from, double to) {
            return std::clamp(std::min(at + 1, to) - std::max(at, from), 0.0, 1.0);
        };
        const auto first = [](double at) { return std::max(0, static_cast<int>(at)); };
        const auto end = [](double at, int most) {
            return std::clamp(static_cast<int>(std::ceil(at)), 0, most);
        };
        for (int y = first(box.top); y < end(box.bottom, kHeight); ++y) {
            for (int x = first(box.left); x < end(box.right, kWidth); ++x) {
                const double part =
                    covered(x, box.left, box.right) * covered(y, box.top, box.bottom);
                for (std::size_t channel = 0; part > 0 && channel < 3; ++channel) {
                    double &value = m_scene[at(x, y)][channel];
                    value += (colour[channel] - value) * part;
                }
            }
        }
    }

    // the light and the sensor
    double gain = 1;
    double flicker = 0; ///< swing of bands that run through the picture
    double phase = 0;
    double noise = 0.8; ///< standard deviation; what is left of it in reduced pictures
    double focus = 1; ///< what sharpness() says

    SmallPicture gray()
    {
        SmallPicture picture{kWidth, kHeight, {}};
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Colour &colour = m_scene[at(x, y)];
                picture.gray.push_back(
                    seen(0.299 * colour[0] + 0.587 * colour[1] + 0.114 * colour[2], y));
            }
        }
        return picture;
    }

    double sharpness() override
    {
        ++sharpnessAsked;
        return focus;
    }
    SmallColourPicture colours() override
    {
        SmallColourPicture picture{kWidth, kHeight, {}};
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                for (const double value : m_scene[at(x, y)])
                    picture.rgb.push_back(seen(value, y));
            }
        }
        return picture;
    }

    int sharpnessAsked = 0;

private:
    static std::size_t at(int x, int y) { return static_cast<std::size_t>(y * kWidth + x); }

    static std::vector<double> normalNoise()
    {
        std::mt19937 generator(1);
        std::normal_distribution<double> normal;
        std::vector<double> noise(100'003); // a prime, so that it falls elsewhere in each picture
        std::generate(noise.begin(), noise.end(), [&] { return normal(generator); });
        return noise;
    }

    std::uint8_t seen(double value, int y)
    {
        m_noiseAt = (m_noiseAt + 1) % m_noise.size();
        const double light = gain * (1 + flicker * std::sin(phase + y * 0.08));
        return static_cast<std::uint8_t>(
            std::clamp(value * light + m_noise[m_noiseAt] * noise, 0.0, 255.0));
    }

    std::vector<Colour> m_scene = std::vector<Colour>(kWidth * kHeight);
    std::vector<double> m_noise = normalNoise();
    std::size_t m_noiseAt = 0;
};

/// A desk that is watched at 15 pictures a second.
class TurnDetectorTest : public testing::Test
{
protected:
    /// Shows the desk for so long, takes the pages that are seen, and counts them.
    int watch(std::chrono::microseconds time)
    {
        int taken = 0;
        for (const auto end = m_now + time; m_now < end; m_now += kFrame) {
            if (!m_detector.wantsToLook(m_now))
                continue;
            ++m_looks;
            m_sight = m_detector.look(m_desk.gray(), m_now, m_desk);
            if (m_sight == Sight::Turned) {
                m_detector.taken(m_desk);
                m_takenAt = m_now;
                ++taken;
            }
        }
        return taken;
    }

    /// A hand that comes, and goes.
    void turnTo(int page)
    {
        for (const double reach : {40.0, 100.0, 160.0, 200.0}) {
            m_desk.reachIn(kNavy, 0, reach);
            EXPECT_EQ(watch(kFrame), 0);
        }
        for (const double reach : {160.0, 100.0, 40.0}) {
            m_desk.lay(page);
            m_desk.reachIn(kNavy, 0, reach);
            EXPECT_EQ(watch(kFrame), 0);
        }
        m_desk.lay(page);
    }

    Desk m_desk;
    TurnDetector m_detector;
    TurnDetector::Clock::time_point m_now{};
    TurnDetector::Clock::time_point m_takenAt{};
    Sight m_sight = Sight::Moving;
    int m_looks = 0;
};

TEST_F(TurnDetectorTest, firstPageNeedsNoMovement)
{
    m_desk.lay(1);
    EXPECT_EQ(watch(700ms), 1);
    EXPECT_EQ(watch(3s), 0);
    EXPECT_EQ(m_sight, Sight::Waiting);
}

TEST_F(TurnDetectorTest, handThatComesBeforeTheFirstPageIsSeen)
{
    m_desk.lay(1);
    EXPECT_EQ(watch(kFrame), 0);
    for (int step = 0; step < 30; ++step) {
        m_desk.lay(1);
        m_desk.reachIn(kNavy, 0.25 * std::sin(step * 0.55));
        ASSERT_EQ(watch(kFrame), 0) << step;
    }
    m_desk.lay(1);
    EXPECT_EQ(watch(1s), 1);
}

TEST_F(TurnDetectorTest, everyTurnedPageIsTakenOnceAndSoon)
{
    m_desk.lay(0);
    EXPECT_EQ(watch(1s), 1);
    for (int page = 1; page < 6; ++page) {
        turnTo(page);
        const auto still = m_now;
        EXPECT_EQ(watch(1500ms), 1) << page;
        EXPECT_LE(m_takenAt - still, 700ms) << page;
    }
}

TEST_F(TurnDetectorTest, pageThatWasOnlyTouchedIsNotTakenAgain)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    turnTo(1);
    EXPECT_EQ(watch(2s), 0);
    EXPECT_EQ(m_sight, Sight::Waiting);
}

TEST_F(TurnDetectorTest, nudgedPageIsNotTakenAgain)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    turnTo(2);
    ASSERT_EQ(watch(1s), 1);
    turnTo(2);
    m_desk.lay(2, 1.3);
    EXPECT_EQ(watch(2s), 0);
}

TEST_F(TurnDetectorTest, noiseAndLightAreNoMovement)
{
    m_desk.lay(1);
    m_desk.noise = 2;
    m_desk.flicker = 0.05;
    EXPECT_EQ(watch(1s), 1);
    for (int step = 0; step < 60; ++step) {
        m_desk.phase = step * 2.1;
        m_desk.gain = 1 - 0.3 * step / 60;
        EXPECT_EQ(watch(200ms), 0) << step;
        EXPECT_EQ(m_sight, Sight::Waiting) << step;
    }
}

TEST_F(TurnDetectorTest, restingHandIsWaitedForHoweverLong)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    for (int step = 0; step < 200; ++step) {
        m_desk.lay(2);
        m_desk.reachIn(kNavy, 0.25 * std::sin(step * 0.55));
        ASSERT_EQ(watch(kFrame), 0) << step;
    }
    m_desk.lay(2);
    EXPECT_EQ(watch(1s), 1);
}

TEST_F(TurnDetectorTest, cameraThatStallsWhileAHandRestsProvesNothing)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    m_desk.lay(2);
    m_desk.reachIn(kNavy);
    EXPECT_EQ(watch(kFrame), 0);
    m_now += 8s;
    EXPECT_EQ(watch(1s), 0);
}

TEST_F(TurnDetectorTest, thingThatLiesOverTheEdgeIsNotWaitedForForEver)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    m_desk.lay(2);
    m_desk.reachIn(kNavy);
    EXPECT_EQ(watch(3s), 0);
    EXPECT_EQ(watch(3s), 1);
}

TEST_F(TurnDetectorTest, blurredPictureIsWaitedForUntilTheLensHasSettled)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    turnTo(2);
    for (int step = 0; step < 12; ++step) {
        m_desk.focus = 0.3 + 0.06 * step;
        EXPECT_EQ(watch(kFrame), 0) << step;
    }
    EXPECT_EQ(watch(400ms), 1);
}

TEST_F(TurnDetectorTest, lensThatNeverSettlesIsNotWaitedForForEver)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    turnTo(2);
    int taken = 0;
    for (int step = 0; step < 60; ++step) {
        m_desk.focus = step % 2 == 0 ? 1 : 0.7;
        taken += watch(kFrame);
        EXPECT_TRUE(taken == 0 || step > 30) << step;
    }
    EXPECT_EQ(taken, 1);
}

TEST_F(TurnDetectorTest, smallThingThatAlwaysMovesDoesNotMatter)
{
    m_desk.lay(1);
    int taken = 0;
    for (int step = 0; step < 60; ++step) {
        m_desk.lay(step < 30 ? 1 : 2);
        m_desk.fill({20.0 + step, 225, 30.0 + step, 235}, kPaper);
        taken += watch(kFrame);
    }
    EXPECT_EQ(taken, 2);
}

TEST_F(TurnDetectorTest, pictureOfAnotherSizeStartsAnew)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(1s), 1);
    SmallPicture other{100, 80, std::vector<std::uint8_t>(8000, 120)};
    EXPECT_EQ(m_detector.look(other, m_now, m_desk), Sight::Moving);
    EXPECT_EQ(watch(1s), 1);
}

TEST_F(TurnDetectorTest, picturesOfEverySizeAreTaken)
{
    for (int side : {0, 1, 2, 15, 16, 17, 40}) {
        TurnDetector detector;
        const SmallPicture picture{
            side, side, std::vector<std::uint8_t>(static_cast<std::size_t>(side * side))};
        for (int step = 0; step < 20; ++step)
            static_cast<void>(detector.look(picture, m_now += kFrame, m_desk));
        detector.taken(m_desk);
    }
}

TEST_F(TurnDetectorTest, littleIsLookedAtWhileNothingHappens)
{
    m_desk.lay(1);
    ASSERT_EQ(watch(3s), 1);
    m_looks = 0;
    const int asked = m_desk.sharpnessAsked;
    watch(10s);
    EXPECT_LE(m_looks, 51);
    EXPECT_EQ(m_desk.sharpnessAsked, asked);
}

} // namespace
