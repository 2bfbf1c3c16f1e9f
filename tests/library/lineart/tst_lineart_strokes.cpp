#include "library/lineart/lineart.h"

#include "library/device/simulated/drawing/paper.h"
#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace korv;

namespace {

/// Lines of type on paper of level 230 whose ink takes `contrast` of its brightness, seen through a
/// lens that softens them; `truth` is where ink covers half of a pixel or more.
struct Print
{
    Image photograph;
    Image truth;
};

Print printOf(double contrast, int grain = 2)
{
    constexpr int kSide = 1700; // with 16 pixel type: 10.5 points at 145 dots an inch
    Paper paper(kSide, 500);
    for (int line = 0; line < 12; ++line)
        paper.text(60, 60 + 36 * line, 16,
                   "The quick brown fox jumps over the lazy dog, 0123456789.", Paper::kInk,
                   line % 2 == 0 ? Paper::Face::Plain : Paper::Face::Serif);
    Print print{Image(kSide, 500, PixelFormat::Gray8), Image(kSide, 500, PixelFormat::Gray8)};
    std::uint32_t state = 11;
    for (int y = 0; y < 500; ++y) {
        for (int x = 0; x < kSide; ++x) {
            double ink = 0;
            for (int i = 0; i < 9; ++i) {
                const int nearX = std::clamp(x + i % 3 - 1, 0, kSide - 1);
                const int nearY = std::clamp(y + i / 3 - 1, 0, 499);
                const double covered = 1 - paper.image().row(nearY)[3 * nearX] / 255.0;
                ink += covered * (i == 4 ? 0.36 : 0.08);
            }
            state = state * 1664525U + 1013904223U;
            const int noise = static_cast<int>(state >> 16) % (2 * grain + 1) - grain;
            const double level = 230 * (1 - contrast * ink) * (1 - 0.3 * x / kSide) + noise;
            print.photograph.row(y)[x] = static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0));
            print.truth.row(y)[x] = paper.image().row(y)[3 * x] < 128 ? 0 : 255;
        }
    }
    return print;
}

bool isBlackNear(const Image &image, int x, int y)
{
    for (int row = std::max(0, y - 1); row <= std::min(image.height() - 1, y + 1); ++row) {
        for (int column = std::max(0, x - 1); column <= std::min(image.width() - 1, x + 1);
             ++column) {
            if (image.row(row)[column] == 0)
                return true;
        }
    }
    return false;
}

/// Share of the ink that the lineart has, at most a pixel away.
double keptShare(const Image &lineart, const Image &truth)
{
    double ink = 0;
    double kept = 0;
    for (int y = 0; y < truth.height(); ++y) {
        for (int x = 0; x < truth.width(); ++x) {
            if (truth.row(y)[x] != 0)
                continue;
            ink += 1;
            kept += isBlackNear(lineart, x, y) ? 1 : 0;
        }
    }
    return kept / ink;
}

/// Share of the black pixels that are farther than two pixels from any ink.
double strayShare(const Image &lineart, const Image &truth)
{
    double black = 1;
    double stray = 0;
    for (int y = 2; y < truth.height() - 2; ++y) {
        for (int x = 2; x < truth.width() - 2; ++x) {
            if (lineart.row(y)[x] != 0)
                continue;
            black += 1;
            bool near = false;
            for (int dy = -1; dy <= 1 && !near; ++dy) {
                for (int dx = -1; dx <= 1 && !near; ++dx)
                    near = isBlackNear(truth, x + dx, y + dy);
            }
            stray += near ? 0 : 1;
        }
    }
    return stray / black;
}

Image blankLike(const Image &picture)
{
    Image blank(picture.width(), picture.height(), PixelFormat::Gray8);
    std::fill_n(blank.pixels(), blank.stride() * static_cast<std::size_t>(blank.height()),
                std::uint8_t{255});
    return blank;
}

} // namespace

TEST(LineartStrokes, paleInkIsKeptDownToAnEighthOfThePapersBrightness)
{
    for (const double contrast : {0.9, 0.6, 0.4, 0.3, 0.2, 0.15}) {
        const Print print = printOf(contrast);
        const Image lineart = toLineart(print.photograph);
        EXPECT_GT(keptShare(lineart, print.truth), 0.99) << contrast;
        EXPECT_LT(strayShare(lineart, print.truth), 0.001) << contrast;
    }
    const Print faint = printOf(0.12);
    EXPECT_GT(keptShare(toLineart(faint.photograph), faint.truth), 0.95);
}

TEST(LineartStrokes, printOfTheBackPageIsNoInk)
{
    // what shines through is pale and has no edges
    Print print = printOf(0.8);
    for (int y = 0; y < print.photograph.height(); ++y) {
        for (int x = 0; x < print.photograph.width(); ++x) {
            const double stripe = std::max(0.0, std::sin(x * 0.35) * std::sin(y * 0.3));
            std::uint8_t &level = print.photograph.row(y)[x];
            level = static_cast<std::uint8_t>(level * (1 - 0.07 * stripe));
        }
    }
    const Image lineart = toLineart(print.photograph);
    EXPECT_LT(strayShare(lineart, print.truth), 0.001);
    EXPECT_GT(keptShare(lineart, print.truth), 0.999);
}

TEST(LineartStrokes, markerUnderBlackTypeIsPaper)
{
    // luma of yellow marker is a sixth below the paper's
    Print print = printOf(0.85);
    for (int y = 60; y < 300; ++y) {
        for (int x = 300; x < 1300; ++x) {
            std::uint8_t &level = print.photograph.row(y)[x];
            level = static_cast<std::uint8_t>(level * 84 / 100);
        }
    }
    const Image lineart = toLineart(print.photograph);
    Image inside(900, 180, PixelFormat::Gray8);
    Image truth(900, 180, PixelFormat::Gray8);
    for (int y = 0; y < 180; ++y) {
        std::copy_n(lineart.row(y + 90) + 350, 900, inside.row(y));
        std::copy_n(print.truth.row(y + 90) + 350, 900, truth.row(y));
    }
    EXPECT_LT(strayShare(inside, truth), 0.001);
    EXPECT_GT(keptShare(inside, truth), 0.999);
}

TEST(LineartStrokes, grainOfAPoorSensorLeavesNoSpecks)
{
    const Print blank = printOf(0, 20);
    const Image lineart = toLineart(blank.photograph);
    double black = 0;
    for (int y = 0; y < lineart.height(); ++y)
        black +=
            static_cast<double>(std::count(lineart.row(y), lineart.row(y) + lineart.width(), 0));
    EXPECT_LT(black / lineart.width() / lineart.height(), 0.0005);

    const Print print = printOf(0.75, 20);
    EXPECT_GT(keptShare(toLineart(print.photograph), print.truth), 0.97);
}

TEST(LineartStrokes, hairlinesBetweenStemsHaveNoHoles)
{
    // as in small serif type: blur leaves the thin stroke less than half as dark as the stems
    constexpr int kPitch = 16;
    constexpr int kStem = 4;
    Image page(1700, 500, PixelFormat::Gray8);
    const auto isBar = [](int y) { return y % 24 == 12; };
    const auto isLine = [](int y) { return y % 24 > 4 && y % 24 < 20; };
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            const bool stem = x % kPitch < kStem;
            const double ink = !isLine(y) ? 0 : stem ? 0.8 : isBar(y) ? 0.22 : 0;
            page.row(y)[x] = static_cast<std::uint8_t>(230 * (1 - ink));
        }
    }
    const Image lineart = toLineart(page);
    int bar = 0;
    int holes = 0;
    int filled = 0;
    for (int y = 50; y < 450; ++y) {
        for (int x = 48; x < 1648; ++x) {
            const bool between = x % kPitch > kStem && x % kPitch < kPitch - 1;
            if (!between || !isLine(y))
                continue;
            bar += isBar(y) ? 1 : 0;
            holes += isBar(y) && lineart.row(y)[x] != 0 ? 1 : 0;
            filled += std::abs(y % 24 - 12) > 1 && lineart.row(y)[x] == 0 ? 1 : 0;
        }
    }
    EXPECT_LT(holes, bar / 100);
    EXPECT_EQ(filled, 0);
}

TEST(LineartStrokes, narrowGapsBetweenStemsStayOpen)
{
    // as inside of small soft letters: blur leaves the gap almost three quarters as dark as the stems
    constexpr int kStem = 4;
    constexpr int kGap = 3;
    constexpr int kPair = 2 * kStem + kGap;
    constexpr int kPitch = kPair + 14;
    Image page(2340, 400, PixelFormat::Gray8); // 200 dots an inch
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            const int place = x % kPitch;
            const bool line = y % 40 > 4 && y % 40 < 26;
            const bool gap = place >= kStem && place < kStem + kGap;
            const double ink = !line || place >= kPair ? 0 : gap ? 0.58 : 0.8;
            page.row(y)[x] = static_cast<std::uint8_t>(230 * (1 - ink));
        }
    }
    const Image lineart = toLineart(page);
    int places = 0;
    int filled = 0;
    int broken = 0;
    for (int y = 0; y < page.height(); ++y) {
        for (int x = kPitch; x < page.width() - kPitch; ++x) {
            const int fromMiddle = std::abs(x % kPitch - kPair / 2);
            if (y % 40 < 12 || y % 40 > 18)
                continue;
            const bool black = lineart.row(y)[x] == 0;
            places += fromMiddle == 0 ? 1 : 0;
            filled += fromMiddle == 0 && black ? 1 : 0;
            broken += (fromMiddle == kGap || fromMiddle == kGap + 1) && !black ? 1 : 0;
        }
    }
    EXPECT_LT(filled, places / 100);
    EXPECT_EQ(broken, 0);
}

TEST(LineartStrokes, doubledPageHasTheSameStrokesAtTwiceTheFineness)
{
    Print print = printOf(0.8);
    print.photograph.setResolution(145);
    const Image doubled = toLineart(print.photograph, 2);
    EXPECT_EQ(doubled.width(), 2 * print.truth.width());
    EXPECT_EQ(doubled.height(), 2 * print.truth.height());
    EXPECT_EQ(doubled.resolution(), 290);
    Image truth(doubled.width(), doubled.height(), PixelFormat::Gray8);
    for (int y = 0; y < truth.height(); ++y) {
        for (int x = 0; x < truth.width(); ++x)
            truth.row(y)[x] = print.truth.row(y / 2)[x / 2];
    }
    EXPECT_GT(keptShare(doubled, truth), 0.995);
    const double wrong = pictures::difference(doubled, truth);
    EXPECT_LT(wrong, 0.2 * pictures::difference(truth, blankLike(truth)));
}
