#include "library/lineart/lineart.h"

#include "library/device/simulated/drawing/paper.h"
#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <iostream>

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

/// A page of small type and thin lines: black where ink is.
Image renderedPage()
{
    Paper paper(1000, 1300);
    for (int line = 0; line < 26; ++line) {
        paper.text(70, 90 + 42 * line, 9 + line % 4,
                   "Invoice number 2048, total of the measured values", Paper::kInk,
                   line % 2 == 0 ? Paper::Face::Plain : Paper::Face::Serif);
        paper.line(60, 102 + 42 * line, 940, 102 + 42 * line, 1);
    }
    Image truth(1000, 1300, PixelFormat::Gray8);
    for (int y = 0; y < 1300; ++y) {
        for (int x = 0; x < 1000; ++x)
            truth.row(y)[x] = paper.image().row(y)[3 * x] < 128 ? 0 : 255;
    }
    return truth;
}

struct Light
{
    double fall = 0; ///< of the brightness from corner to corner
    double shadow = 0; ///< what a hand's shadow takes of the lower right
    int grain = 0; ///< of the sensor, levels to either side
};

/// The page as a camera sees it: lit, softened, grainy.
Image photographOf(const Image &truth, const Light &light)
{
    Image image(truth.width(), truth.height(), PixelFormat::Gray8);
    std::uint32_t state = 7;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            double ink = 0;
            for (int i = 0; i < 9; ++i) {
                const int nearX = std::clamp(x + i % 3 - 1, 0, image.width() - 1);
                const int nearY = std::clamp(y + i / 3 - 1, 0, image.height() - 1);
                ink += truth.row(nearY)[nearX] == 0 ? (i == 4 ? 0.36 : 0.08) : 0;
            }
            const double along = static_cast<double>(x + y) / (image.width() + image.height());
            const double edge = std::clamp((x + 0.6 * y - 900) / 25.0, 0.0, 1.0);
            const double paper = 235 * (1 - light.fall * along) * (1 - light.shadow * edge);
            state = state * 1664525U + 1013904223U;
            const int grain = static_cast<int>(state >> 16) % (2 * light.grain + 1) - light.grain;
            const double level = paper * (1 - 0.75 * ink) + grain;
            image.row(y)[x] = static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0));
        }
    }
    return image;
}

/// The one threshold that separates the histogram best (Otsu 1979).
int otsuThreshold(const Image &image)
{
    std::array<double, 256> histogram{};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            histogram[image.row(y)[x]] += 1;
    }
    double total = 0;
    double sum = 0;
    for (int i = 0; i < 256; ++i) {
        total += histogram[static_cast<std::size_t>(i)];
        sum += i * histogram[static_cast<std::size_t>(i)];
    }
    double below = 0;
    double sumBelow = 0;
    double best = -1;
    int threshold = 0;
    for (int i = 0; i < 255; ++i) {
        below += histogram[static_cast<std::size_t>(i)];
        sumBelow += i * histogram[static_cast<std::size_t>(i)];
        if (below == 0 || below == total)
            continue;
        const double apart = sumBelow / below - (sum - sumBelow) / (total - below);
        if (below * (total - below) * apart * apart > best) {
            best = below * (total - below) * apart * apart;
            threshold = i;
        }
    }
    return threshold;
}

Image otsu(const Image &image)
{
    const int threshold = otsuThreshold(image);
    Image result(image.width(), image.height(), PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            result.row(y)[x] = image.row(y)[x] > threshold ? 255 : 0;
    }
    return result;
}

/// Wrong pixels for each hundred pixels of ink.
double shapeError(const Image &result, const Image &truth)
{
    double wrong = 0;
    double ink = 0;
    for (int y = 0; y < truth.height(); ++y) {
        for (int x = 0; x < truth.width(); ++x) {
            wrong += result.row(y)[x] != truth.row(y)[x] ? 1 : 0;
            ink += truth.row(y)[x] == 0 ? 1 : 0;
        }
    }
    return 100 * wrong / ink;
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

TEST(Lineart, charactersKeepTheirShapeInUnevenLight)
{
    const Image truth = renderedPage();
    const std::array<Light, 4> lights = {
        Light{0, 0, 3}, {0.6, 0, 3}, {0.2, 0.55, 3}, {0.5, 0.5, 6}};
    for (std::size_t i = 0; i < lights.size(); ++i) {
        const Image photograph = photographOf(truth, lights[i]);
        const double ours = shapeError(toLineart(photograph), truth);
        const double global = shapeError(otsu(photograph), truth);
        std::cout << "light " << i << ": wrong pixels for 100 of ink: " << ours
                  << ", with one threshold " << global << '\n';
        EXPECT_LT(ours, 12) << i;
        EXPECT_LT(ours, global / 10) << i;
    }
}

TEST(Lineart, shadowLeavesNoBlackPatch)
{
    Image blank(1000, 1300, PixelFormat::Gray8);
    std::fill_n(blank.pixels(), 1000 * 1300, std::uint8_t{255});
    const Image result = toLineart(photographOf(blank, {0.4, 0.6, 6}));
    EXPECT_LT(errorShare(result, blank), 0.0002);
}

TEST(Lineart, blankPaperInADeepShadowStaysWhite)
{
    for (const auto &[width, height] : {std::pair{1000, 1300}, {1700, 2400}}) {
        Image blank(width, height, PixelFormat::Gray8);
        std::fill_n(blank.pixels(), width * height, std::uint8_t{255});
        for (const Light &light :
             {Light{0.4, 0.6, 0}, {0.4, 0.6, 6}, {0.2, 0.8, 3}, {0.2, 0.8, 10}}) {
            const Image result = toLineart(photographOf(blank, light));
            EXPECT_LT(errorShare(result, blank), 0.0002)
                << width << 'x' << height << ", shadow " << light.shadow << ", grain "
                << light.grain;
        }
    }
}

TEST(Lineart, specksGoAndFullStopsStay)
{
    Image image(1600, 1200, PixelFormat::Gray8);
    std::fill_n(image.pixels(), 1600 * 1200, std::uint8_t{230});
    const auto dot = [&image](int x, int y, int size) {
        for (int i = 0; i < size * size; ++i)
            image.row(y + i / size)[x + i % size] = 40;
    };
    for (int i = 0; i < 20; ++i) {
        dot(100 + 50 * i, 300, 1);
        dot(100 + 50 * i, 600, 3);
    }
    const Image result = toLineart(image);
    EXPECT_EQ(std::count(result.row(300), result.row(300) + 1600, 0), 0);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(result.row(601)[101 + 50 * i], 0) << i;
}

TEST(Lineart, thinPaleStrokesSurvive)
{
    Image image(1600, 1200, PixelFormat::Gray8);
    for (int y = 0; y < 1200; ++y) {
        for (int x = 0; x < 1600; ++x) {
            const int paper = 240 - x / 10;
            const bool stroke = (y % 40 == 20 || x % 90 == 45) && y > 100 && y < 1100;
            image.row(y)[x] = static_cast<std::uint8_t>(stroke ? paper * 65 / 100 : paper);
        }
    }
    const Image result = toLineart(image);
    int lost = 0;
    for (int x = 100; x < 1500; ++x)
        lost += result.row(620)[x] == 0 ? 0 : 1;
    EXPECT_LT(lost, 14);
}
