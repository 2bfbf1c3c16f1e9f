#include "library/image/image.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

using namespace korv;

TEST(Image, pixelsStartAsZero)
{
    for (int round = 0; round < 2; ++round) { // the second may get the first one's memory
        Image image(300, 200, PixelFormat::Rgb24);
        std::uint8_t *end = image.pixels() + image.stride() * 200;
        EXPECT_TRUE(std::all_of(image.pixels(), end, [](int level) { return level == 0; }));
        std::fill(image.pixels(), end, std::uint8_t{77});
    }
}

TEST(Image, copiesDoNotSharePixels)
{
    Image image(5, 4, PixelFormat::Gray8);
    image.row(3)[4] = 9;
    Image copy = image;
    EXPECT_EQ(copy.row(3)[4], 9);
    copy.row(3)[4] = 8;
    EXPECT_EQ(image.row(3)[4], 9);
    Image assigned(1, 1, PixelFormat::Rgb24);
    assigned = image;
    const Image &itself = assigned;
    assigned = itself;
    EXPECT_EQ(assigned.width(), 5);
    EXPECT_EQ(assigned.row(3)[4], 9);
}

TEST(Image, movedPixelsStayWhereTheyAre)
{
    Image image(5, 4, PixelFormat::Gray8);
    const std::uint8_t *pixels = image.pixels();
    const Image moved = std::move(image);
    EXPECT_EQ(moved.pixels(), pixels);
    EXPECT_TRUE(image.empty()); // NOLINT(bugprone-use-after-move)
    const Image copyOfNothing = image; // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(copyOfNothing.empty());
}

TEST(Image, whatIsNotSetIsWritable)
{
    Image image = Image::unset(7, 3, PixelFormat::Rgb24);
    EXPECT_EQ(image.stride(), 21U);
    std::fill(image.pixels(), image.pixels() + 63, std::uint8_t{1});
    EXPECT_EQ(image.row(2)[20], 1);
}
