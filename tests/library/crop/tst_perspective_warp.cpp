#include "library/crop/perspective_warp.h"

#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

namespace {

const crop::Homography kTilted{0.9, 0.2, 12.3, -0.15, 1.1, 30.7, 1e-4, -2e-4, 1};

const crop::Homography kNothing{1, 0, 0, 0, 1, 0, 0, 0, 1};

crop::Homography all(double value)
{
    crop::Homography map;
    map.fill(value);
    return map;
}

/// The colour at any place, as the header promises it.
double colourAt(const Image &image, double x, double y, int channel)
{
    x = std::clamp(x, 0.0, image.width() - 1.0);
    y = std::clamp(y, 0.0, image.height() - 1.0);
    const int left = std::min(static_cast<int>(x), std::max(0, image.width() - 2));
    const int top = std::min(static_cast<int>(y), std::max(0, image.height() - 2));
    const auto pixel = [&](int column, int row) -> double {
        return image.row(std::min(
            row,
            image.height() - 1))[std::min(column, image.width() - 1) * image.channels() + channel];
    };
    const double right = x - left;
    const double below = y - top;
    return (pixel(left, top) * (1 - right) + pixel(left + 1, top) * right) * (1 - below)
        + (pixel(left, top + 1) * (1 - right) + pixel(left + 1, top + 1) * right) * below;
}

/// Levels by which the warped picture differs from what it should be.
double largestError(const Image &source, const crop::Homography &map, int width, int height)
{
    Image warped(width, height, source.format());
    HelperThread core;
    crop::warpPerspective(source, map, warped, core);
    double largest = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double w = map[6] * x + map[7] * y + map[8];
            const double placeX = (map[0] * x + map[1] * y + map[2]) / w;
            const double placeY = (map[3] * x + map[4] * y + map[5]) / w;
            for (int i = 0; i < source.channels(); ++i) {
                const double wanted = colourAt(source, placeX, placeY, i);
                const double is = warped.row(y)[x * source.channels() + i];
                largest = std::max(largest, std::abs(is - wanted));
            }
        }
    }
    return largest;
}

} // namespace

TEST(PerspectiveWarp, nothingMovesWhenNothingIsToMove)
{
    for (const auto format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
        const Image source = pictures::numbered(67, 41, format);
        EXPECT_EQ(largestError(source, kNothing, 67, 41), 0);
    }
}

TEST(PerspectiveWarp, everyPixelIsWhatLiesAtItsPlace)
{
    for (const auto format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
        const Image source = pictures::numbered(300, 200, format);
        EXPECT_LT(largestError(source, kTilted, 250, 160), 5);
    }
}

TEST(PerspectiveWarp, strongPerspectiveIsAsExact)
{
    const crop::Homography map{1.2, 0.1, 3, 0.05, 1.3, 2, 8e-3, 5e-3, 1};
    EXPECT_LT(largestError(pictures::numbered(120, 90, PixelFormat::Rgb24), map, 130, 100), 5);
}

TEST(PerspectiveWarp, bordersGoOnOutsideThePicture)
{
    const crop::Homography map{1, 0, -20.5, 0, 1, -30.5, 0, 0, 1};
    for (const auto format : {PixelFormat::Gray8, PixelFormat::Rgb24})
        EXPECT_LT(largestError(pictures::numbered(50, 40, format), map, 100, 110), 2);
}

TEST(PerspectiveWarp, smallestPicturesAreWarped)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 2}}) {
        for (const auto format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
            const Image source = pictures::numbered(width, height, format);
            EXPECT_LT(largestError(source, kNothing, width, height), 1);
            EXPECT_LT(largestError(source, {0.3, 0, 0.1, 0, 0.3, 0.1, 0, 0, 1}, 9, 9), 2);
        }
    }
}

TEST(PerspectiveWarp, mapsWithoutSenseDoNoHarm)
{
    const double nan = std::nan("");
    const Image source = pictures::numbered(60, 50, PixelFormat::Rgb24);
    for (const crop::Homography &map :
         {crop::Homography{}, all(nan), all(1e300), crop::Homography{1, 0, 0, 0, 1, 0, 0.1, 0, -3},
          crop::Homography{1e9, 0, 0, 0, -1e9, 0, 0, 0, 1}}) {
        Image warped(70, 60, PixelFormat::Rgb24);
        HelperThread core;
        crop::warpPerspective(source, map, warped, core);
        EXPECT_EQ(warped.width(), 70);
    }
}

TEST(PerspectiveWarp, largePicturesComeOutLikeSmallOnes)
{
    const Image source = pictures::numbered(900, 700, PixelFormat::Rgb24);
    EXPECT_LT(largestError(source, kTilted, 820, 610), 5);
}
