#include "library/imaging/lineart.h"

#include "tests/library/imaging/pictures.h"

#include <gtest/gtest.h>

using namespace korv;

namespace {

constexpr int kWidth = 900;
constexpr int kHeight = 700;

/// The strokes of `truth` on paper whose brightness falls to a sixth from corner to corner.
Image inShadow(const Image &truth)
{
    Image image(truth.width(), truth.height(), PixelFormat::Rgb24);
    for (int y = 0; y < truth.height(); ++y) {
        for (int x = 0; x < truth.width(); ++x) {
            const int paper = 240 - 200 * (x + y) / (truth.width() + truth.height());
            const int level = truth.row(y)[x] != 0 ? paper : paper * 35 / 100;
            for (int i = 0; i < 3; ++i)
                image.row(y)[3 * x + i] = static_cast<std::uint8_t>(level);
        }
    }
    return image;
}

double errorShare(const Image &a, const Image &b)
{
    return pictures::difference(a, b) / 255;
}

Image globalThreshold(const Image &image, int threshold)
{
    Image result(image.width(), image.height(), PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            result.row(y)[x] = image.row(y)[3 * x] >= threshold ? 255 : 0;
    }
    return result;
}

} // namespace

TEST(Lineart, onlyTwoLevelsComeOut)
{
    const Image result = toLineart(pictures::page(400, 300));
    ASSERT_EQ(result.format(), PixelFormat::Gray8);
    EXPECT_TRUE(result.isBilevel());
    int black = 0;
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 400; ++x) {
            ASSERT_TRUE(result.row(y)[x] == 0 || result.row(y)[x] == 255);
            black += result.row(y)[x] == 0 ? 1 : 0;
        }
    }
    EXPECT_GT(black, 1000);
    EXPECT_LT(black, 400 * 300 / 2);
}

TEST(Lineart, strokesSurviveAShadowThatNoSingleThresholdCopesWith)
{
    const Image truth = pictures::lineart(kWidth, kHeight);
    const Image photograph = inShadow(truth);
    const double ours = errorShare(toLineart(photograph), truth);
    double best = 1;
    for (int threshold = 1; threshold < 255; ++threshold)
        best = std::min(best, errorShare(globalThreshold(photograph, threshold), truth));
    RecordProperty("error_per_mille", static_cast<int>(ours * 1000));
    RecordProperty("best_global_per_mille", static_cast<int>(best * 1000));
    EXPECT_LT(ours, 0.005);
    EXPECT_LT(ours, best / 2);
}

TEST(Lineart, blankShadedPaperStaysWhite)
{
    const Image blank = [] {
        Image white(kWidth, kHeight, PixelFormat::Gray8);
        std::fill_n(white.pixels(), kWidth * kHeight, std::uint8_t{255});
        return white;
    }();
    EXPECT_LT(errorShare(toLineart(inShadow(blank)), blank), 0.001);
}

TEST(Lineart, smallestPicturesAreHandled)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {1, 300}, {300, 1}, {2, 2}})
        EXPECT_EQ(toLineart(pictures::numbered(width, height, PixelFormat::Rgb24)).width(), width);
}
