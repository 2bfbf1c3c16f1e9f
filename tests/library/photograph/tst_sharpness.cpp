#include "library/photograph/sharpness.h"

#include "tests/library/support/typed_page.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

using namespace korv;
using testing_support::blurred;
using testing_support::kTypedHeight;
using testing_support::kTypedWidth;
using testing_support::typed;

namespace {

/// Paper of `white`, ink of that share of it, light that falls to half, grain.
Image photographed(const Image &page, double white, double ink, int grain)
{
    Image result = page;
    std::uint32_t state = 11;
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            const double depth = 1 - page.row(y)[x] / 240.0;
            const double light = white * (1 - 0.5 * x / page.width());
            state = state * 1664525U + 1013904223U;
            const int noise =
                grain == 0 ? 0 : static_cast<int>(state >> 16) % (2 * grain + 1) - grain;
            const double level = light * (1 - (1 - ink) * depth) + noise;
            result.row(y)[x] = static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0));
        }
    }
    return result;
}

Image sideways(const Image &image)
{
    Image result(image.height(), image.width(), PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            result.row(x)[image.height() - 1 - y] = image.row(y)[x];
    }
    return result;
}

} // namespace

TEST(Sharpness, crispTypeOfAnySizeIsInFocus)
{
    for (const int size : {12, 18, 28}) {
        const Image page = blurred(typed(size), 0.7);
        const Sharpness sharpness = sharpnessOf(page);
        EXPECT_TRUE(sharpness.known) << size;
        EXPECT_FALSE(sharpness.isOutOfFocus())
            << size << ": " << sharpness.strokes << ", " << sharpness.blur;
    }
}

TEST(Sharpness, blurThatMakesLettersFlowTogetherIsOutOfFocusInAnyLight)
{
    for (const int size : {14, 20, 28}) {
        const Image page = blurred(typed(size), 0.3 * size);
        for (const double white : {235.0, 140.0}) {
            for (const double ink : {0.1, 0.3}) {
                const Sharpness sharpness = sharpnessOf(photographed(page, white, ink, 3));
                EXPECT_TRUE(sharpness.isOutOfFocus())
                    << size << " " << white << " " << ink << ": " << sharpness.strokes << ", "
                    << sharpness.blur;
            }
        }
    }
}

TEST(Sharpness, sidewaysPagesAreJudgedAlike)
{
    const Image page = blurred(typed(20), 6);
    EXPECT_TRUE(sharpnessOf(page).isOutOfFocus());
    EXPECT_TRUE(sharpnessOf(sideways(page)).isOutOfFocus());
    EXPECT_FALSE(sharpnessOf(sideways(blurred(typed(20), 0.8))).isOutOfFocus());
}

TEST(Sharpness, blurIsTheOneOfTheLens)
{
    for (const double deviation : {1.5, 2.5}) {
        const Sharpness sharpness = sharpnessOf(blurred(typed(28), deviation));
        EXPECT_NEAR(sharpness.blur, deviation, 0.35 * deviation);
    }
}

TEST(Sharpness, pagesWithoutWritingAreNotJudged)
{
    const Image blank(kTypedWidth, kTypedHeight, PixelFormat::Gray8);
    EXPECT_FALSE(sharpnessOf(blank).known);
    EXPECT_FALSE(
        sharpnessOf(photographed(blurred(Image(300, 200, PixelFormat::Gray8), 1), 200, 1, 3))
            .isOutOfFocus());
    Image white(kTypedWidth, kTypedHeight, PixelFormat::Rgb24);
    std::fill_n(white.pixels(), white.stride() * static_cast<std::size_t>(kTypedHeight), 230);
    EXPECT_FALSE(sharpnessOf(white).known);
    for (const int side : {1, 2, 9, 70})
        EXPECT_FALSE(sharpnessOf(Image(side, 71 - side, PixelFormat::Rgb24)).known);
}
