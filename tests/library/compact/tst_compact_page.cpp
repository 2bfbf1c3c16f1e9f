#include "library/compact/compact_page.h"

#include "library/compact/dark_ink.h"
#include "library/compact/ink.h"
#include "library/device/simulated/drawing/paper.h"
#include "library/image/colour.h"
#include "library/jpeg/jpeg.h"
#include "library/lineart/lineart.h"
#include "tests/library/support/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>

using namespace korv;

namespace {

constexpr int kWidth = 1600;
constexpr int kHeight = 2200;

/// In pixels.
struct Box
{
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

int noise(int x, int y)
{
    const std::uint32_t mixed =
        (static_cast<std::uint32_t>(x) * 73856093U) ^ (static_cast<std::uint32_t>(y) * 19349663U);
    return static_cast<int>((mixed * 2654435761U) >> 16) % 7 - 3;
}

/// A page of type as a camera sees it: blurred a little, in light that falls off, with grain.
Image photographed(const Image &sheet)
{
    Image result = sheet;
    for (int y = 1; y + 1 < sheet.height(); ++y) {
        for (int x = 1; x + 1 < sheet.width(); ++x) {
            const double light = 0.95 - 0.15 * x / sheet.width();
            for (int i = 0; i < 3; ++i) {
                const int at = 3 * x + i;
                const int around = sheet.row(y)[at - 3] + sheet.row(y)[at + 3]
                    + sheet.row(y - 1)[at] + sheet.row(y + 1)[at];
                const double seen = light * (2 * sheet.row(y)[at] + around) / 6 + noise(x, y);
                result.row(y)[at] = static_cast<std::uint8_t>(std::clamp(seen, 0.0, 255.0));
            }
        }
    }
    return result;
}

Image typed(int width, int height, Paper::Colour ink = Paper::kInk)
{
    Paper paper(width, height);
    for (int line = 0; line < 20; ++line)
        paper.text(60, 120 + 55 * line, 22, "Invoice 2048, total of the values", ink);
    return paper.image();
}

/// Something of the texture of a photograph in a part of a sheet.
void paste(Image &sheet, const Box &box)
{
    for (int y = box.top; y < box.top + box.height; ++y) {
        for (int x = box.left; x < box.left + box.width; ++x) {
            const double level =
                110 + 60 * std::sin(x / 5.0) * std::sin(y / 7.0) + 40 * std::sin((x - y) / 90.0);
            for (int i = 0; i < 3; ++i)
                sheet.row(y)[3 * x + i] = static_cast<std::uint8_t>(level + 8 * i);
        }
    }
}

std::optional<PageLayers> layersOf(const Image &page)
{
    HelperThread core;
    Result<std::optional<PageLayers>> layers = takeApart(page, 95, core);
    EXPECT_TRUE(layers);
    return layers ? std::move(layers).value() : std::nullopt;
}

Image decoded(const LayerJpeg &layer)
{
    const Image image = jpeg::decode(layer.jpeg).value();
    EXPECT_EQ(image.width(), layer.width);
    EXPECT_EQ(image.height(), layer.height);
    return image;
}

void expectCovers(const PicturePatch &patch, const Box &box)
{
    EXPECT_LE(patch.left, box.left);
    EXPECT_LE(patch.top, box.top);
    EXPECT_GE(patch.left + patch.picture.width, box.left + box.width);
    EXPECT_GE(patch.top + patch.picture.height, box.top + box.height);
}

int inkIn(const Image &mask, const Box &box)
{
    int pixels = 0;
    for (int y = box.top; y < box.top + box.height; ++y)
        pixels += static_cast<int>(
            std::count(mask.row(y) + box.left, mask.row(y) + box.left + box.width, 0));
    return pixels;
}

} // namespace

TEST(CompactPage, writingTakesAnEighthOfACoarseJpeg)
{
    const Image page = photographed(typed(kWidth, kHeight));
    const auto layers = layersOf(page);
    ASSERT_TRUE(layers);
    EXPECT_TRUE(layers->pictures.empty());
    EXPECT_LT(8 * layers->size(), jpeg::encode(page, {75}).value().size());
    EXPECT_EQ(layers->paper.width, kWidth / 4);
    EXPECT_EQ(layers->ink.width, kWidth / 10);
}

TEST(CompactPage, paperKeepsItsLightAndLosesItsInk)
{
    const Image page = photographed(typed(kWidth, kHeight));
    const auto layers = layersOf(page);
    ASSERT_TRUE(layers);
    const Image paper = decoded(layers->paper);
    double worst = 0;
    for (int y = 8; y < paper.height() - 8; ++y) {
        for (int x = 8; x < paper.width() - 8; ++x) {
            const double light = 0.95 - 0.15 * x / paper.width();
            worst = std::max(worst, std::abs(paper.row(y)[3 * x] - light * Paper::kWhite[0]));
        }
    }
    EXPECT_LT(worst, 12); // of 243
}

TEST(CompactPage, inkKeepsItsColour)
{
    const auto layers = layersOf(photographed(typed(kWidth, kHeight, Paper::kRed)));
    ASSERT_TRUE(layers);
    const Image ink = decoded(layers->ink);
    const std::uint8_t *pixel = ink.row(ink.height() / 3) + 3 * (ink.width() / 3);
    EXPECT_GT(pixel[0], pixel[1] + 70);
    EXPECT_GT(pixel[0], pixel[2] + 70);
}

TEST(CompactPage, photographKeepsItsResolution)
{
    constexpr Box kPhotograph = {800, 1200, 500, 400};
    Image sheet = typed(kWidth, kHeight);
    paste(sheet, kPhotograph);
    const Image page = photographed(sheet);
    const auto layers = layersOf(page);
    ASSERT_TRUE(layers);
    ASSERT_EQ(layers->pictures.size(), 1U);
    const PicturePatch &patch = layers->pictures.front();
    expectCovers(patch, kPhotograph);
    EXPECT_LT(patch.picture.width, kPhotograph.width * 13 / 10);
    const Image picture = decoded(patch.picture);
    double squares = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t *stored = picture.row(y);
        const std::uint8_t *seen =
            page.row(patch.top + y) + 3 * static_cast<std::ptrdiff_t>(patch.left);
        for (std::size_t i = 0; i < picture.stride(); ++i)
            squares += std::pow(stored[i] - seen[i], 2);
    }
    const double mean = squares / (static_cast<double>(picture.stride()) * picture.height());
    EXPECT_GT(10 * std::log10(255 * 255 / mean), 32); // decibels
}

TEST(CompactPage, photographWithLittleTextureIsOnePicture)
{
    constexpr Box kPhotograph = {700, 1200, 600, 400};
    Paper paper(kWidth, kHeight);
    for (int line = 0; line < 20; ++line)
        paper.text(60, 120 + 45 * line, 22, "Invoice 2048, total of the values");
    Image sheet = paper.image();
    for (int y = kPhotograph.top; y < kPhotograph.top + kPhotograph.height; ++y) {
        for (int x = kPhotograph.left; x < kPhotograph.left + kPhotograph.width; ++x) {
            const bool isDark = x < kPhotograph.left + 150 || y < kPhotograph.top + 60;
            std::fill_n(sheet.row(y) + std::ptrdiff_t{3} * x, 3,
                        static_cast<std::uint8_t>(isDark ? 90 : 175));
        }
    }
    paste(sheet, {960, 1205, 150, 45});
    const auto layers = layersOf(photographed(sheet));
    ASSERT_TRUE(layers);
    ASSERT_EQ(layers->pictures.size(), 1U);
    expectCovers(layers->pictures.front(), kPhotograph);
}

TEST(CompactPage, pencilKeepsItsResolution)
{
    Paper paper(kWidth, kHeight);
    for (int line = 0; line < 10; ++line)
        paper.text(60, 120 + 55 * line, 22, "Invoice 2048, total of the values");
    for (int line = 0; line < 8; ++line)
        paper.text(200, 800 + 30 * line, 13, "pale pencil all over", {205, 205, 205});
    const auto layers = layersOf(photographed(paper.image()));
    ASSERT_TRUE(layers);
    EXPECT_FALSE(layers->pictures.empty());
}

TEST(CompactPage, sealOverTypeKeepsItsColours)
{
    Paper paper(kWidth, kHeight);
    for (int line = 0; line < 20; ++line)
        paper.text(60, 120 + 55 * line, 22, "Invoice 2048, total of the values");
    paper.ring(400, 500, 100, 8, Paper::kRed);
    for (int line = 0; line < 3; ++line)
        paper.text(330, 470 + 40 * line, 20, "sealed", Paper::kRed);
    const Image page = photographed(paper.image());
    const auto layers = layersOf(page);
    ASSERT_TRUE(layers);
    EXPECT_TRUE(layers->pictures.empty());
    EXPECT_LT(8 * layers->size(), jpeg::encode(page, {75}).value().size());
    // the middle of the seal, where its letters lie over type
    const auto patch = std::find_if(layers->colouredInk.begin(), layers->colouredInk.end(),
                                    [](const InkPatch &ink) {
                                        return ink.left <= 600 && ink.left + ink.width >= 680
                                            && ink.top <= 770 && ink.top + ink.height >= 830;
                                    });
    ASSERT_NE(patch, layers->colouredInk.end());
    const auto redness = [](const Image &ink, int x, int y) {
        const std::uint8_t *pixel = ink.row(y) + std::ptrdiff_t{3} * x;
        return pixel[0] - pixel[1];
    };
    EXPECT_GT(redness(decoded(patch->ink), (640 - patch->left) / 10, (800 - patch->top) / 10), 70);
    EXPECT_LT(redness(decoded(layers->ink), 64, 80), 35);
}

TEST(CompactPage, panelsAndRulesNeedNoPicture)
{
    Paper paper(kWidth, kHeight);
    paper.fill({50, 100, 900, 300}, {200, 215, 240});
    for (int line = 0; line < 20; ++line) {
        paper.text(60, 130 + 50 * line, 22, "Invoice 2048, total of the values");
        paper.line(50, 145 + 50 * line, 950, 145 + 50 * line, 2, {90, 90, 90});
    }
    const auto layers = layersOf(photographed(paper.image()));
    ASSERT_TRUE(layers);
    EXPECT_TRUE(layers->pictures.empty());
}

TEST(CompactPage, blankPaperHasNoInk)
{
    const auto layers = layersOf(photographed(Paper(kWidth, kHeight).image()));
    ASSERT_TRUE(layers);
    EXPECT_TRUE(layers->mask.data.empty());
    EXPECT_TRUE(layers->ink.jpeg.empty());
    EXPECT_FALSE(layers->paper.jpeg.empty());
}

TEST(CompactPage, grayPagesHaveGrayLayers)
{
    const auto layers = layersOf(toGray(photographed(typed(kWidth, kHeight))));
    ASSERT_TRUE(layers);
    EXPECT_TRUE(layers->paper.gray);
    EXPECT_TRUE(layers->ink.gray);
    EXPECT_EQ(jpeg::readInfo(layers->paper.jpeg).value().components, 1);
}

TEST(CompactPage, photographsStayPictures)
{
    Image sheet = typed(kWidth, kHeight);
    paste(sheet, {100, 300, 1400, 1600});
    EXPECT_FALSE(layersOf(photographed(sheet)));
}

TEST(CompactPage, strokesTooFineForAMaskStayPictures)
{
    EXPECT_FALSE(layersOf(photographed(typed(700, 960))));
}

TEST(CompactPage, darkPartsOfAPhotographAreNoStrokes)
{
    Paper paper(700, 960);
    for (int line = 0; line < 12; ++line)
        paper.text(60, 120 + 55 * line, 22, "Invoice 2048, total of the values");
    Image sheet = paper.image();
    paste(sheet, {200, 600, 400, 300});
    for (int y = 620; y < 880; y += 40) {
        for (int dark = y; dark < y + 12; ++dark)
            std::fill_n(sheet.row(dark) + std::ptrdiff_t{3} * 220, 3 * 360, std::uint8_t{10});
    }
    EXPECT_FALSE(layersOf(photographed(sheet)));
}

TEST(CompactPage, lineartAndTinyPicturesStay)
{
    EXPECT_FALSE(layersOf(toLineart(typed(kWidth, kHeight))));
    EXPECT_FALSE(layersOf(testing_support::wavyImage(199, 400)));
    EXPECT_FALSE(layersOf(testing_support::wavyImage(1, 1)));
}

TEST(CompactPage, countersOfSmallTypeStayOpen)
{
    // bars of three pixels with a blurred one between them, as in small Chinese characters
    Image gray(kWidth, kHeight, PixelFormat::Gray8);
    std::fill_n(gray.pixels(), gray.stride() * kHeight, std::uint8_t{220});
    for (int top = 200; top < 1800; top += 60) {
        for (int left = 200; left < 1400; left += 30) {
            for (int y = 0; y < 19; ++y)
                std::fill_n(gray.row(top + y) + left, 24,
                            static_cast<std::uint8_t>(y % 4 == 3 ? 156 : 40));
        }
    }
    constexpr Box kAcross = {500, 503, 24, 1}; // between the first two bars
    EXPECT_EQ(inkIn(compact::darkInk(gray), kAcross), 24);
    HelperThread core;
    const compact::Ink ink = compact::inkOn(gray, core);
    EXPECT_EQ(inkIn(ink.mask, kAcross), 0);
    EXPECT_EQ(inkIn(ink.mask, {502, 500, 20, 3}), 60);
}
