#include "library/image/resolution.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(EffectiveDpi, unknownResolutionMakesTheLongSideA4)
{
    EXPECT_EQ(effectiveDpi(3264, 2448, 0), 279);
    EXPECT_EQ(effectiveDpi(2448, 3264, 0), 279);
    EXPECT_EQ(effectiveDpi(3508, 2480, 0), 300);
    EXPECT_EQ(effectiveDpi(1, 1, 0), 1);
}

TEST(EffectiveDpi, statedResolutionHolds)
{
    EXPECT_EQ(effectiveDpi(2480, 3508, 300), 300);
    EXPECT_EQ(effectiveDpi(1000, 1000, 71), 71);
}

TEST(EffectiveDpi, valuesThatProgramsWriteWithoutKnowingAreNone)
{
    EXPECT_EQ(effectiveDpi(3264, 2448, 72), 279);
    EXPECT_EQ(effectiveDpi(3264, 2448, 96), 279);
    EXPECT_EQ(effectiveDpi(3264, 2448, 96.01), 279); // 3780 pixels a metre
}

TEST(EffectiveDpi, impossiblePageSizesFallBackToTheRule)
{
    EXPECT_EQ(effectiveDpi(3264, 2448, 1), 279); // would be 83 metres
    EXPECT_EQ(effectiveDpi(3264, 2448, 65535), 279); // would be a millimetre
    EXPECT_EQ(effectiveDpi(3264, 2448, -5), 279);
}
