#include "library/photograph/sharpness.h"

#include "library/device/simulated/drawing/paper.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

using namespace korv;

namespace {

constexpr int kWidth = 1400;
constexpr int kHeight = 1800;

/// Lines of type with capitals of `size` pixels.
Image typed(int size)
{
    constexpr double kUnit = 1000.0 / kWidth; // the paper's are thousandths of the width
    Paper paper(kWidth, kHeight);
    for (int y = 120; y + 60 < kHeight; y += 3 * size)
        paper.text(80, y * kUnit, size * kUnit,
                   "Total of the measured values, invoice number 2048 paid at once", Paper::kInk,
                   Paper::Face::Plain);
    Image gray(kWidth, kHeight, PixelFormat::Gray8);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            gray.row(y)[x] = paper.image().row(y)[3 * x + 1];
    }
    return gray;
}

std::vector<double> weightsOf(double deviation)
{
    const int reach = static_cast<int>(std::ceil(3 * deviation));
    std::vector<double> weights;
    double sum = 0;
    for (int at = -reach; at <= reach; ++at) {
        weights.push_back(std::exp(-0.5 * at * at / (deviation * deviation)));
        sum += weights.back();
    }
    for (double &weight : weights)
        weight /= sum;
    return weights;
}

Image blurredAlong(const Image &image, const std::vector<double> &weights, bool columns)
{
    Image result(image.width(), image.height(), PixelFormat::Gray8);
    const int reach = static_cast<int>(weights.size()) / 2;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            double sum = 0;
            for (int at = -reach; at <= reach; ++at) {
                const int nearX = std::clamp(x + (columns ? 0 : at), 0, image.width() - 1);
                const int nearY = std::clamp(y + (columns ? at : 0), 0, image.height() - 1);
                sum += weights[static_cast<std::size_t>(at + reach)] * image.row(nearY)[nearX];
            }
            result.row(y)[x] = static_cast<std::uint8_t>(std::lround(sum));
        }
    }
    return result;
}

Image blurred(const Image &image, double deviation)
{
    const std::vector<double> weights = weightsOf(deviation);
    return blurredAlong(blurredAlong(image, weights, false), weights, true);
}

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
    const Image blank(kWidth, kHeight, PixelFormat::Gray8);
    EXPECT_FALSE(sharpnessOf(blank).known);
    EXPECT_FALSE(
        sharpnessOf(photographed(blurred(Image(300, 200, PixelFormat::Gray8), 1), 200, 1, 3))
            .isOutOfFocus());
    Image white(kWidth, kHeight, PixelFormat::Rgb24);
    std::fill_n(white.pixels(), white.stride() * static_cast<std::size_t>(kHeight), 230);
    EXPECT_FALSE(sharpnessOf(white).known);
    for (const int side : {1, 2, 9, 70})
        EXPECT_FALSE(sharpnessOf(Image(side, 71 - side, PixelFormat::Rgb24)).known);
}
