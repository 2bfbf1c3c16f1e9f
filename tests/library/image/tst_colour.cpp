#include "library/image/colour.h"

#include "tests/library/support/sample_pictures.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

TEST(ToGray, isTheLumaOfTheColours)
{
    const Image colour = pictures::numbered(61, 47, PixelFormat::Rgb24);
    const Image gray = toGray(colour);
    ASSERT_EQ(gray.format(), PixelFormat::Gray8);
    for (int y = 0; y < 47; ++y) {
        for (int x = 0; x < 61; ++x) {
            const std::uint8_t *pixel = colour.row(y) + 3 * x;
            const double luma = 0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2];
            ASSERT_LE(std::abs(luma - gray.row(y)[x]), 0.51);
        }
    }
}

TEST(ToGray, grayStaysAndWhiteIsWhite)
{
    const Image gray = pictures::numbered(20, 20, PixelFormat::Gray8);
    EXPECT_TRUE(pictures::same(toGray(gray), gray));
    EXPECT_TRUE(pictures::same(toGray(pictures::toRgb(gray)), gray));
}
