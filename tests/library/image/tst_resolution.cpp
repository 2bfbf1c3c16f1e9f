#include "library/image/resolution.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(EffectiveResolution, unknownResolutionMakesTheLongSideA4)
{
    EXPECT_EQ(effectiveResolution(3264, 2448, 0), 279);
    EXPECT_EQ(effectiveResolution(2448, 3264, 0), 279);
    EXPECT_EQ(effectiveResolution(3508, 2480, 0), 300);
    EXPECT_EQ(effectiveResolution(1, 1, 0), 1);
}

TEST(EffectiveResolution, statedResolutionHolds)
{
    EXPECT_EQ(effectiveResolution(2480, 3508, 300), 300);
    EXPECT_EQ(effectiveResolution(1000, 1000, 71), 71);
}

TEST(EffectiveResolution, valuesThatProgramsWriteWithoutKnowingAreNone)
{
    EXPECT_EQ(effectiveResolution(3264, 2448, 72), 279);
    EXPECT_EQ(effectiveResolution(3264, 2448, 96), 279);
    EXPECT_EQ(effectiveResolution(3264, 2448, 96.01), 279); // 3780 pixels a metre
}

TEST(EffectiveResolution, measuredOneNearAPlaceholderIsUsed)
{
    const Resolution desk = exactResolution(1600, 1200, 421.5, 316.1);
    EXPECT_DOUBLE_EQ(effectiveResolution(1600, 1200, desk).x, 1600 * 25.4 / 421.5); // 96.4
    Resolution screen(96.012);
    screen.exact = true; // decimals of a program that counts in pixels a metre
    EXPECT_EQ(effectiveResolution(3264, 2448, screen), 279);
}

TEST(EffectiveResolution, impossiblePageSizesFallBackToTheRule)
{
    EXPECT_EQ(effectiveResolution(3264, 2448, 1), 279); // would be 83 metres
    EXPECT_EQ(effectiveResolution(3264, 2448, 65535), 279); // would be a millimetre
    EXPECT_EQ(effectiveResolution(3264, 2448, -5), 279);
}

TEST(EffectiveResolution, dotsKeepTheirShape)
{
    EXPECT_EQ(effectiveResolution(1728, 1100, {204, 98}), Resolution(204, 98));
    EXPECT_EQ(effectiveResolution(1728, 1100, {204, 0}), Resolution(204));
    EXPECT_EQ(effectiveResolution(1728, 1100, {204, 1}), Resolution(204));
    EXPECT_EQ(effectiveResolution(1728, 1100, {0, 204}), Resolution(148));
    // would be 44 metres: as long as A4, and dots twice as high as wide
    const Resolution dots = effectiveResolution(1728, 1100, {1, 0.5});
    EXPECT_DOUBLE_EQ(dots.x / dots.y, 2);
    EXPECT_NEAR(1100 / dots.y * 25.4, 297, 1e-9);
}

TEST(BelievableResolution, pageIsNoLargerThanA2)
{
    EXPECT_EQ(believableResolution(4677, 3307, 200), Resolution(200));
    EXPECT_EQ(believableResolution(3307, 4677, 200), Resolution(200));
    EXPECT_FALSE(believableResolution(4800, 3307, 200).isKnown());
    EXPECT_FALSE(believableResolution(4677, 3400, 200).isKnown());
    EXPECT_FALSE(believableResolution(100, 100, {}).isKnown());
    const Resolution dots = believableResolution(4000, 2000, {20, 10});
    EXPECT_DOUBLE_EQ(dots.x / dots.y, 2);
}

TEST(ExactResolution, pictureHasTheSize)
{
    const Resolution resolution = exactResolution(2339, 3308, 210, 297);
    EXPECT_TRUE(resolution.exact);
    EXPECT_DOUBLE_EQ(2339 / resolution.x * 25.4, 210);
    EXPECT_DOUBLE_EQ(3308 / resolution.y * 25.4, 297);
    EXPECT_TRUE(resolution.transposed().exact);
    EXPECT_EQ(resolution.transposed(), Resolution(resolution.y, resolution.x));
}
