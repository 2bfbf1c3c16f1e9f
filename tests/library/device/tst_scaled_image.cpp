#include "library/device/simulated/drawing/scaled_image.h"

#include "tests/library/support/pictures.h"

#include <gtest/gtest.h>

using korv::scaled;

TEST(scaledImage, sameSizeIsTheSamePicture)
{
    const korv::Image image = testing_support::wavyImage(50, 40);
    const korv::Image same = scaled(image, 50, 40);
    EXPECT_TRUE(std::equal(image.pixels(), image.pixels() + 50 * 40 * 3, same.pixels()));
}

TEST(scaledImage, oneColourStaysExactlyThatColour)
{
    for (const auto &[width, height] : {std::pair(7, 3), std::pair(100, 90), std::pair(333, 1)}) {
        const korv::Image result =
            scaled(testing_support::plainImage(64, 48, {255, 17, 0}), width, height);
        ASSERT_EQ(result.width(), width);
        ASSERT_EQ(result.height(), height);
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(testing_support::colourAt(result, x, height - 1),
                      (testing_support::Colour{255, 17, 0}));
    }
}

TEST(scaledImage, smallerPictureIsTheMeanOfWhatItCovers)
{
    korv::Image stripes(400, 10, korv::PixelFormat::Gray8);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 400; ++x)
            stripes.row(y)[x] = x % 2 == 0 ? 0 : 200;
    }
    const korv::Image result = scaled(stripes, 40, 5);
    for (int x = 1; x < 39; ++x)
        EXPECT_NEAR(result.row(2)[x], 100, 4) << x;
}

TEST(scaledImage, largerPictureKeepsItsPlaces)
{
    korv::Image halves(20, 20, korv::PixelFormat::Gray8);
    for (int y = 0; y < 20; ++y)
        std::fill(halves.row(y) + 10, halves.row(y) + 20, std::uint8_t{240});
    const korv::Image result = scaled(halves, 200, 200);
    EXPECT_EQ(result.row(100)[80], 0);
    EXPECT_EQ(result.row(100)[120], 240);
}
