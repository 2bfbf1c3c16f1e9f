#include "library/crop/crop.h"
#include "library/crop/outlines/outline_widener.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

using namespace korv;
using namespace korv::crop;

namespace {

using Colour = std::array<int, 3>;

constexpr Colour kDesk{70, 62, 55};
constexpr Colour kPaper{225, 224, 215};
constexpr double kReach = 20;

/// Paper from 200 to 1000 across and down to 700, its upper side where `top` says for every x, each
/// beginning with its pixel's border. Where there is no paper, `around` says what there is.
Image paperWithTop(
    const std::function<double(int)> &top,
    const std::function<Colour(int, int)> &around = [](int, int) { return kDesk; })
{
    Image image(1200, 900, PixelFormat::Rgb24);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double depth = std::clamp(
                std::min({x - 199.5, 1000.5 - x, 700.5 - y, y - top(x) + 0.5}), 0.0, 1.0);
            const Colour desk = around(x, y);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                image.row(y)[3 * x + static_cast<int>(channel)] = static_cast<std::uint8_t>(
                    desk[channel] + depth * (kPaper[channel] - desk[channel]) + 0.5);
            }
        }
    }
    return image;
}

/// The paper with its upper side on y = 200, which the rim is said to agree with that much.
Refined outlineOfPaper(double agreementAbove)
{
    Refined outline;
    outline.corners = {{{199.5, 199.5}, {1000.5, 199.5}, {1000.5, 700.5}, {199.5, 700.5}}};
    outline.agreements = {agreementAbove, 1, 1, 1};
    return outline;
}

Corners widenedBy(const Image &image, double agreementAbove)
{
    HelperThread core;
    return widened(image, outlineOfPaper(agreementAbove), kReach, core);
}

/// Folded upright in the middle, so that the right half of the upper side runs up.
double foldedTop(int x)
{
    return 200 - std::max(0, x - 600) * 0.03;
}

} // namespace

TEST(OutlineWidener, aSideThatRunsUpBehindAFoldIsWhollyInside)
{
    const Corners corners = widenedBy(paperWithTop(foldedTop), 0.5);
    EXPECT_NEAR(corners[0].y, 200, 1.5);
    EXPECT_NEAR(corners[1].y, 188, 1.5);
    EXPECT_NEAR(corners[2].y, 700.5, 0.01);
    EXPECT_NEAR(corners[3].x, 199.5, 0.01);
}

TEST(OutlineWidener, aRidgeInTheMiddleOfASideIsWhollyInside)
{
    const Corners corners =
        widenedBy(paperWithTop([](int x) { return 188 + std::abs(x - 600) * 0.03; }), 0.5);
    EXPECT_NEAR(corners[0].y, 188, 1.5);
    EXPECT_NEAR(corners[1].y, 188, 1.5);
}

TEST(OutlineWidener, nothingMovesWherePaperEndsAtTheSide)
{
    EXPECT_EQ(widenedBy(paperWithTop([](int) { return 200; }), 0), outlineOfPaper(0).corners);
    EXPECT_EQ(widenedBy(paperWithTop([](int x) { return 200 + (x > 600 ? 9 : 0); }), 0),
              outlineOfPaper(0).corners);
}

TEST(OutlineWidener, aSideThatIsALineStays)
{
    EXPECT_EQ(widenedBy(paperWithTop(foldedTop), 1), outlineOfPaper(1).corners);
}

TEST(OutlineWidener, aThingOfAnotherColourIsNoPaper)
{
    const Image image = paperWithTop([](int) { return 200; },
                                     [](int x, int y) {
                                         const bool isThing = x > 700 && x < 900 && y > 190;
                                         return isThing ? Colour{150, 255, 240} : kDesk;
                                     });
    EXPECT_EQ(widenedBy(image, 0), outlineOfPaper(0).corners);
}

TEST(OutlineWidener, paperWhoseEndIsOutOfReachIsAnotherSheet)
{
    const Image image = paperWithTop([](int x) { return x > 700 && x < 900 ? 100 : 200; });
    EXPECT_EQ(widenedBy(image, 0), outlineOfPaper(0).corners);
}

TEST(OutlineWidener, paperThatHardlyDiffersFromTheDeskStays)
{
    const Colour likePaper{kPaper[0] - 6, kPaper[1] - 6, kPaper[2] - 6};
    EXPECT_EQ(widenedBy(paperWithTop(foldedTop, [&](int, int) { return likePaper; }), 0),
              outlineOfPaper(0).corners);
}

TEST(OutlineWidener, grayAndTinyPicturesAreWidenedToo)
{
    Image image(64, 64, PixelFormat::Gray8);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            image.row(y)[x] =
                x >= 8 && x < 56 && y < 56 && y >= 16 - std::max(0, x - 32) / 5 ? 220 : 60;
    }
    Refined outline;
    outline.corners = {{{7.5, 15.5}, {55.5, 15.5}, {55.5, 55.5}, {7.5, 55.5}}};
    HelperThread core;
    const Corners corners = widened(image, outline, 1.2 * 4, core);
    EXPECT_LE(corners[1].y, 13.5);
    EXPECT_EQ(corners[3].y, 55.5);
}

TEST(OutlineWidener, aFoldedSheetIsCutOutWhole)
{
    const Image image = paperWithTop([](int x) { return 200 - std::max(0, x - 800) * 0.09; });
    HelperThread core;
    const std::optional<Quadrilateral> found = findSheet(image, core);
    ASSERT_TRUE(found);
    EXPECT_LE(found->corners[0].y, 201);
    EXPECT_LE(found->corners[1].y, 183.5);
    EXPECT_GE(found->corners[1].y, 178);
}
