#include "library/crop/crop.h"
#include "library/crop/outlines/printed_border.h"

#include "tests/library/support/desk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

using namespace korv;
using namespace korv::crop;

namespace {

constexpr desk::Colour kWhite{238, 237, 232};
constexpr desk::Colour kTable{186, 178, 168};
constexpr double kStep = 1;

struct Print
{
    std::array<int, 4> borders{30, 30, 30, 30}; ///< above, right, below and left, in pixels
    desk::Colour border = kWhite;
    desk::Colour table = kTable;
    int grain = 5; ///< levels of the table's darkest specks
    desk::Colour darkest{30, 70, 40}; ///< of the picture
    std::function<bool(int, int)> isInk = [](int, int) { return false; }; ///< on the border
};

const Corners kPicture{{{299.5, 199.5}, {899.5, 199.5}, {899.5, 699.5}, {299.5, 699.5}}};

/// As good as random.
int specks(int x, int y)
{
    const std::uint32_t cell = static_cast<std::uint32_t>(x / 3) * 374761393U
        + static_cast<std::uint32_t>(y / 3) * 668265263U;
    return static_cast<int>(((cell ^ cell >> 13) * 1274126177U >> 16) & 0xffU);
}

bool isWithin(int x, int y, const std::array<int, 4> &around)
{
    return x >= 300 - around[3] && x < 900 + around[1] && y >= 200 - around[0]
        && y < 700 + around[2];
}

/// A picture from 300 to 900 across and 200 to 700 down, with a border, on a table.
Image draw(const Print &print)
{
    Image image(1200, 900, PixelFormat::Rgb24);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int wave = static_cast<int>(
                40 + 40 * std::sin(x / 37.0 + 3 * std::sin(y / 61.0)) * std::cos(y / 23.0));
            for (int channel = 0; channel < 3; ++channel) {
                const auto c = static_cast<std::size_t>(channel);
                int level = print.table[c] - specks(x, y) % print.grain;
                if (isWithin(x, y, {}))
                    level = print.darkest[c] + wave;
                else if (isWithin(x, y, print.borders))
                    level = print.isInk(x, y) ? 60 : print.border[c];
                image.row(y)[3 * x + channel] =
                    static_cast<std::uint8_t>(std::clamp(level, 0, 255));
            }
        }
    }
    return image;
}

std::optional<Corners> borderOf(const Print &print)
{
    HelperThread core;
    return outlineOfBorder(draw(print), kPicture, kStep, core);
}

} // namespace

TEST(PrintedBorder, theOutlineOfThePrintIsFound)
{
    const std::optional<Corners> found = borderOf({});
    ASSERT_TRUE(found);
    const Corners expected{{{269.5, 169.5}, {929.5, 169.5}, {929.5, 729.5}, {269.5, 729.5}}};
    EXPECT_LE(largestShift(*found, expected), 1.5);
}

TEST(PrintedBorder, wideAndNarrowBordersAreFound)
{
    Print print;
    for (const int width : {7, 15, 90}) {
        print.borders = {width, width, width, width};
        const std::optional<Corners> found = borderOf(print);
        ASSERT_TRUE(found) << width;
        EXPECT_NEAR((*found)[0].x, 299.5 - width, 1.5);
        EXPECT_NEAR((*found)[2].y, 699.5 + width, 1.5);
    }
}

TEST(PrintedBorder, aPictureWithoutBorderHasNone)
{
    Print print;
    print.borders = {};
    EXPECT_FALSE(borderOf(print));
    print.borders = {30, 30, 30, 0};
    EXPECT_FALSE(borderOf(print));
}

TEST(PrintedBorder, aDeskAsLightAsTheBorderHasNoEnd)
{
    Print print;
    print.table = {234, 233, 229};
    EXPECT_FALSE(borderOf(print));
}

TEST(PrintedBorder, aDarkMatUnderASheetIsNoBorder)
{
    Print print;
    print.border = {110, 120, 90};
    print.table = {60, 55, 50};
    print.darkest = {170, 170, 165};
    EXPECT_FALSE(borderOf(print));
    print.darkest = {30, 30, 30};
    print.table = {200, 195, 190};
    EXPECT_FALSE(borderOf(print)) << "a border that is darker than the desk";
}

TEST(PrintedBorder, sidesOfDifferentWidthAreNoBorder)
{
    Print print;
    print.borders = {30, 30, 90, 30};
    EXPECT_FALSE(borderOf(print));
}

TEST(PrintedBorder, whatIsWrittenOnIsNoBorder)
{
    Print print;
    print.isInk = [](int x, int y) { return y > 706 && y < 722 && x / 6 % 2 == 0; };
    EXPECT_FALSE(borderOf(print));
}

TEST(PrintedBorder, grayAndTinyPicturesAreNoHarm)
{
    Image image(64, 64, PixelFormat::Gray8);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            image.row(y)[x] = x >= 8 && x < 56 && y >= 8 && y < 56 ? 220 : 60;
    }
    HelperThread core;
    const Corners all{{{-0.5, -0.5}, {63.5, -0.5}, {63.5, 63.5}, {-0.5, 63.5}}};
    EXPECT_FALSE(outlineOfBorder(image, all, kStep, core));
    const Corners beyond{{{-90, -80}, {150, -70}, {140, 160}, {-70, 150}}};
    EXPECT_FALSE(outlineOfBorder(image, beyond, kStep, core));
    const Corners point{{{30, 30}, {30.5, 30}, {30.5, 30.5}, {30, 30.5}}};
    EXPECT_FALSE(outlineOfBorder(image, point, kStep, core));
}

TEST(PrintedBorder, aPrintIsCutOutWithItsBorder)
{
    HelperThread core;
    Print print; // the table's specks are edges as strong as the border's end
    print.borders = {12, 12, 12, 12};
    print.table = {228, 223, 216};
    print.grain = 40;
    const std::optional<Quadrilateral> found = findSheet(draw(print), core);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->corners[0].x, 287.5, 2);
    EXPECT_NEAR(found->corners[0].y, 187.5, 2);
    EXPECT_NEAR(found->corners[2].x, 911.5, 2);
    EXPECT_NEAR(found->corners[2].y, 711.5, 2);
}
