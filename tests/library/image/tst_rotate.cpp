#include "library/image/rotate.h"

#include "tests/library/support/sample_pictures.h"

#include <gtest/gtest.h>

using namespace korv;

namespace {

/// Row by row; one byte a pixel.
Image grid(int width, int height, const std::vector<int> &values)
{
    Image image(width, height, PixelFormat::Gray8);
    for (std::size_t i = 0; i < values.size(); ++i)
        image.pixels()[i] = static_cast<std::uint8_t>(values[i]);
    return image;
}

} // namespace

TEST(Rotate, leftIsCounterClockwise)
{
    const Image image = grid(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_TRUE(pictures::same(rotate(image, Rotation::Left90), grid(2, 3, {3, 6, 2, 5, 1, 4})));
    EXPECT_TRUE(pictures::same(rotate(image, Rotation::Right90), grid(2, 3, {4, 1, 5, 2, 6, 3})));
    EXPECT_TRUE(pictures::same(rotate(image, Rotation::Half), grid(3, 2, {6, 5, 4, 3, 2, 1})));
    EXPECT_TRUE(pictures::same(rotate(image, Rotation::None), image));
}

TEST(Rotate, oppositeTurnsUndoEachOtherAtAnySize)
{
    for (const PixelFormat format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
        for (const auto &[width, height] : {std::pair{1, 1}, {1, 70}, {33, 31}, {64, 65}}) {
            const Image image = pictures::numbered(width, height, format);
            const Image left = rotate(image, Rotation::Left90);
            EXPECT_TRUE(pictures::same(rotate(left, Rotation::Right90), image));
            EXPECT_TRUE(
                pictures::same(rotate(left, Rotation::Left90), rotate(image, Rotation::Half)));
        }
    }
}

TEST(Rotate, whatIsKnownAboutThePictureStays)
{
    Image image = pictures::lineart(40, 30);
    image.setResolution(200);
    const Image turned = rotate(image, Rotation::Right90);
    EXPECT_TRUE(turned.isBilevel());
    EXPECT_EQ(turned.resolution(), 200);
}

TEST(ApplyOrientation, putsTheStoredPictureUpright)
{
    const Image upright = grid(3, 2, {1, 2, 3, 4, 5, 6});
    const std::vector<std::pair<int, Image>> stored = {
        {1, upright},
        {2, grid(3, 2, {3, 2, 1, 6, 5, 4})},
        {3, grid(3, 2, {6, 5, 4, 3, 2, 1})},
        {4, grid(3, 2, {4, 5, 6, 1, 2, 3})},
        {5, grid(2, 3, {1, 4, 2, 5, 3, 6})},
        {6, grid(2, 3, {3, 6, 2, 5, 1, 4})},
        {7, grid(2, 3, {6, 3, 5, 2, 4, 1})},
        {8, grid(2, 3, {4, 1, 5, 2, 6, 3})},
    };
    for (const auto &[orientation, image] : stored)
        EXPECT_TRUE(pictures::same(applyOrientation(image, orientation), upright)) << orientation;
}
