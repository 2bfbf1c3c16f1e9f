#include "library/imaging/crop.h"

#include "tests/library/imaging/pictures.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

namespace {

using Point = Quadrilateral::Point;

bool isLeftOf(Point a, Point b, double x, double y)
{
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x) >= 0;
}

/// A sheet with writing on a brown desk with grain; corners clockwise from the top left.
Image desk(int width, int height, const std::array<Point, 4> *sheet)
{
    Image image(width, height, PixelFormat::Rgb24);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool inside = sheet != nullptr;
            for (std::size_t i = 0; inside && i < 4; ++i)
                inside = isLeftOf((*sheet)[i], (*sheet)[(i + 1) % 4], x, y);
            const int grain = (x * 7 + y * 13) % 9;
            std::uint8_t *pixel = image.row(y) + 3 * x;
            const bool ink = inside && y % 24 < 5 && x % 20 < 13;
            const int level = ink ? 60 : 235;
            pixel[0] = static_cast<std::uint8_t>(inside ? level : 120 + grain);
            pixel[1] = static_cast<std::uint8_t>(inside ? level : 85 + grain);
            pixel[2] = static_cast<std::uint8_t>(inside ? level - 8 : 55 + grain);
        }
    }
    return image;
}

} // namespace

TEST(Crop, cornersOfATiltedSheetAreFound)
{
    const std::array<Point, 4> sheet = {Point{260, 130}, Point{1000, 210}, Point{930, 820},
                                        Point{190, 760}};
    const std::optional<Quadrilateral> found = findSheet(desk(1200, 900, &sheet));
    ASSERT_TRUE(found);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(found->corners[i].x, sheet[i].x, 5) << i;
        EXPECT_NEAR(found->corners[i].y, sheet[i].y, 5) << i;
    }
}

TEST(Crop, cutSheetIsStraightAndFreeOfTheDesk)
{
    const std::array<Point, 4> sheet = {Point{260, 130}, Point{1000, 210}, Point{930, 820},
                                        Point{190, 760}};
    const Image scene = desk(1200, 900, &sheet);
    const std::optional<Quadrilateral> found = findSheet(scene);
    ASSERT_TRUE(found);
    const Image cut = cutSheet(scene, *found);
    EXPECT_NEAR(cut.width(), std::hypot(740, 70), 12);
    EXPECT_NEAR(cut.height(), std::hypot(70, 620), 12);
    int deskPixels = 0;
    for (int y = 5; y < cut.height() - 5; ++y) {
        for (int x = 5; x < cut.width() - 5; ++x) {
            const std::uint8_t *pixel = cut.row(y) + 3 * x;
            deskPixels += pixel[0] > pixel[2] + 40 ? 1 : 0;
        }
    }
    EXPECT_LT(deskPixels, cut.width() * cut.height() / 200);
}

TEST(Crop, emptyDeskIsLeftAlone)
{
    EXPECT_FALSE(findSheet(desk(1200, 900, nullptr)));
}

TEST(Crop, sheetLargerThanTheFrameIsLeftAlone)
{
    const std::array<Point, 4> sheet = {Point{-200, -150}, Point{1400, -90}, Point{1380, 1050},
                                        Point{-180, 1000}};
    EXPECT_FALSE(findSheet(desk(1200, 900, &sheet)));
}

TEST(Crop, sheetThatLeavesTheFrameIsLeftAlone)
{
    const std::array<Point, 4> sheet = {Point{300, 200}, Point{1500, 230}, Point{1480, 700},
                                        Point{280, 680}};
    EXPECT_FALSE(findSheet(desk(1200, 900, &sheet)));
}

TEST(Crop, strangePicturesAreLeftAlone)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {3, 2000}, {2000, 70}, {64, 64}})
        EXPECT_FALSE(findSheet(pictures::numbered(width, height, PixelFormat::Gray8)));
}
