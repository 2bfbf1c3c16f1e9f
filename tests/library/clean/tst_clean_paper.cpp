#include "library/clean/clean_paper.h"

#include "library/device/simulated/drawing/paper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

using namespace korv;

namespace {

constexpr int kWidth = 900;
constexpr int kHeight = 1200;

using Colour = std::array<double, 3>; // levels

struct Box
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    Colour colour{};
};

/// Share of the light that arrives at a place, in each channel.
using Light = std::function<Colour(int x, int y)>;

Colour evenly(double share)
{
    return {share, share, share};
}

/// A page of type with coloured boxes, evenly lit: what the paper and the print are.
Image page(const std::vector<Box> &boxes = {})
{
    Paper paper(kWidth, kHeight);
    for (int line = 0; line < 26; ++line)
        paper.text(60, (80 + 42 * line) / 0.9, 11 + line % 3, // thousandths of the width
                   "Invoice number 2048, total of the measured values", Paper::kInk,
                   Paper::Face::Plain);
    Image image = paper.image();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            std::uint8_t *pixel = image.row(y) + 3 * x;
            // the drawn paper is not quite white
            for (int i = 0; i < 3; ++i)
                pixel[i] = static_cast<std::uint8_t>(std::min(230, pixel[i] * 230 / 235));
        }
    }
    for (const Box &box : boxes) {
        for (int y = box.y; y < box.y + box.height; ++y) {
            for (int x = box.x; x < box.x + box.width; ++x) {
                for (std::size_t i = 0; i < 3; ++i)
                    image.row(y)[3 * x + static_cast<int>(i)] =
                        static_cast<std::uint8_t>(box.colour[i]);
            }
        }
    }
    return image;
}

Image lit(const Image &truth, const Light &light)
{
    Image image = truth;
    std::uint32_t state = 5;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const Colour share = light(x, y);
            for (int i = 0; i < image.channels(); ++i) {
                std::uint8_t &level = image.row(y)[image.channels() * x + i];
                state = state * 1664525U + 1013904223U;
                const int grain = static_cast<int>(state >> 16) % 5 - 2;
                const double seen = level * share[static_cast<std::size_t>(i)] + grain;
                level = static_cast<std::uint8_t>(std::clamp(seen, 0.0, 255.0));
            }
        }
    }
    return image;
}

/// A shadow that takes `depth` of the light beyond a slanting line; its edge is as wide.
Light castShadow(double depth, double edgeWidth)
{
    return [=](int x, int y) {
        const double beyond = std::clamp((x + 0.4 * y - 650) / edgeWidth, 0.0, 1.0);
        return evenly(1 - depth * beyond);
    };
}

Image cleaned(Image image)
{
    HelperThread core;
    cleanPaper(image, core);
    return image;
}

struct Spread
{
    double mean = 0;
    double worst = 0; ///< difference from the mean, of squares of 10 pixels
};

/// Of blank paper between the lines of type, in one channel.
Spread paperIn(const Image &image, int channel)
{
    std::vector<double> means;
    for (int y = 4; y + 10 < image.height(); y += 42) {
        for (int x = 5; x + 10 < image.width(); x += 10) {
            double sum = 0;
            for (int at = 0; at < 100; ++at)
                sum += image.row(y + at / 10)[image.channels() * (x + at % 10) + channel];
            means.push_back(sum / 100);
        }
    }
    Spread result;
    for (const double mean : means)
        result.mean += mean / static_cast<double>(means.size());
    for (const double mean : means)
        result.worst = std::max(result.worst, std::abs(mean - result.mean));
    return result;
}

Colour meanIn(const Image &image, const Box &box)
{
    Colour sum{};
    const int margin = 8;
    int count = 0;
    for (int y = box.y + margin; y < box.y + box.height - margin; ++y) {
        for (int x = box.x + margin; x < box.x + box.width - margin; ++x) {
            for (std::size_t i = 0; i < 3; ++i)
                sum[i] += image.row(y)[3 * x + static_cast<int>(i)];
            ++count;
        }
    }
    for (double &each : sum)
        each /= count;
    return sum;
}

/// CIE L*a*b* of sRGB for D65.
Colour labOf(const Colour &rgb)
{
    std::array<double, 3> linear{};
    std::transform(rgb.begin(), rgb.end(), linear.begin(), [](double level) {
        const double share = level / 255;
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    });
    const auto bent = [](double share) {
        return share > 0.008856 ? std::cbrt(share) : 7.787 * share + 16.0 / 116;
    };
    const auto [r, g, b] = linear;
    const double x = bent((0.4124 * r + 0.3576 * g + 0.1805 * b) / 0.9505);
    const double y = bent(0.2126 * r + 0.7152 * g + 0.0722 * b);
    const double z = bent((0.0193 * r + 0.1192 * g + 0.9505 * b) / 1.089);
    return {116 * y - 16, 500 * (x - y), 200 * (y - z)};
}

double deltaE(const Colour &a, const Colour &b)
{
    const Colour first = labOf(a);
    const Colour second = labOf(b);
    return std::hypot(first[0] - second[0], first[1] - second[1], first[2] - second[2]);
}

const std::vector<Box> kPatches = {
    {60, 300, 120, 120, {190, 40, 40}},    {220, 300, 120, 120, {40, 140, 60}},
    {380, 300, 120, 120, {40, 60, 170}},   {540, 300, 120, 120, {225, 205, 60}},
    {700, 300, 120, 120, {110, 110, 110}}, {60, 700, 120, 120, {170, 170, 170}},
    {220, 700, 120, 120, {205, 160, 130}}, {380, 700, 120, 120, {90, 50, 110}},
    {540, 700, 120, 120, {50, 50, 50}},    {700, 700, 120, 120, {150, 210, 225}},
};

} // namespace

TEST(CleanPaper, paperInAShadowBecomesAsWhiteAsPaperInTheLight)
{
    for (const double edge : {12.0, 60.0, 300.0}) {
        const Image image = cleaned(lit(page(), castShadow(0.6, edge)));
        for (int channel = 0; channel < 3; ++channel) {
            const Spread paper = paperIn(image, channel);
            EXPECT_NEAR(paper.mean, 230, 6) << edge;
            EXPECT_LT(paper.worst, 8) << edge; // a halo would be seen here
        }
    }
}

TEST(CleanPaper, dimAndColouredLightBecomesWhite)
{
    const Image image = cleaned(lit(page(), [](int x, int) {
        const double fall = 0.75 - 0.35 * x / kWidth;
        return Colour{fall, 0.95 * fall, 0.86 * fall};
    }));
    for (int channel = 0; channel < 3; ++channel) {
        const Spread paper = paperIn(image, channel);
        EXPECT_NEAR(paper.mean, 190, 5) << channel;
        EXPECT_LT(paper.worst, 8) << channel;
    }
}

TEST(CleanPaper, pageKeepsTheBrightnessOfItsLight)
{
    const Light shadow = castShadow(0.5, 60);
    for (const double light : {0.85, 1.0}) { // 195 and 230 of 255
        const Image image = cleaned(lit(page(), [&](int x, int y) {
            const Colour share = shadow(x, y);
            return evenly(light * share[0]);
        }));
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(paperIn(image, channel).mean, 230 * light, 6) << light;
    }
}

TEST(CleanPaper, colouredSheetKeepsItsColour)
{
    const Image image = cleaned(lit(page(), [](int, int) { return Colour{0.98, 0.9, 0.5}; }));
    const Spread green = paperIn(image, 1);
    const Spread blue = paperIn(image, 2);
    EXPECT_LT(blue.mean, 0.8 * green.mean);
}

TEST(CleanPaper, coloursOfPrintStay)
{
    const Image truth = page(kPatches);
    const Image image = cleaned(
        lit(truth, [](int x, int y) { return evenly(1 - 0.4 * (x + y) / (kWidth + kHeight)); }));
    for (const Box &patch : kPatches)
        EXPECT_LT(deltaE(meanIn(image, patch), patch.colour), 5)
            << patch.colour[0] << " " << patch.colour[1] << " " << patch.colour[2];
}

TEST(CleanPaper, largeDarkPictureIsNoShadow)
{
    const std::vector<Box> pictures = {{150, 250, 600, 620, {70, 68, 66}},
                                       {0, 900, 900, 180, {120, 120, 120}}};
    const Image image = cleaned(lit(page(pictures), castShadow(0.5, 200)));
    for (const Box &picture : pictures) {
        const Colour mean = meanIn(image, picture);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(mean[i], picture.colour[i], 20);
    }
}

TEST(CleanPaper, evenlyLitPageStaysAsItIs)
{
    const Image truth = page(kPatches);
    const Image image = cleaned(lit(truth, [](int, int) { return evenly(1); }));
    double sum = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < 3 * kWidth; ++x)
            sum += std::abs(image.row(y)[x] - truth.row(y)[x]);
    }
    EXPECT_LT(sum / (3.0 * kWidth * kHeight), 4);
}

TEST(CleanPaper, grayPicturesAreCleanedToo)
{
    Image gray(kWidth, kHeight, PixelFormat::Gray8);
    const Image colour = page();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            gray.row(y)[x] = colour.row(y)[3 * x + 1];
    }
    const Spread paper = paperIn(cleaned(lit(gray, castShadow(0.6, 60))), 0);
    EXPECT_NEAR(paper.mean, 230, 6);
    EXPECT_LT(paper.worst, 8);
}

TEST(CleanPaper, bilevelPicturesStay)
{
    Image image(40, 30, PixelFormat::Gray8);
    image.row(3)[5] = 255;
    image.setBilevel(true);
    const Image result = cleaned(image);
    EXPECT_TRUE(result.isBilevel());
    EXPECT_TRUE(std::equal(result.pixels(), result.pixels() + 40 * 30, image.pixels()));
}

TEST(CleanPaper, anySizeAndAnyContentGoThrough)
{
    const std::array<std::pair<int, int>, 7> sizes = {
        {{1, 1}, {1, 900}, {900, 1}, {2, 2}, {7, 5}, {821, 3}, {1641, 40}}};
    for (const auto &[width, height] : sizes) {
        for (const PixelFormat format : {PixelFormat::Gray8, PixelFormat::Rgb24}) {
            for (const int level : {0, 1, 128, 255}) {
                Image image(width, height, format);
                std::fill_n(image.pixels(), image.stride() * static_cast<std::size_t>(height),
                            static_cast<std::uint8_t>(level));
                const Image result = cleaned(image);
                EXPECT_EQ(result.width(), width);
                EXPECT_EQ(result.height(), height);
            }
        }
    }
}
