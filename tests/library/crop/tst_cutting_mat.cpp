#include "library/crop/crop.h"
#include "library/crop/sheet_search.h"

#include "tests/library/support/desk.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>

using namespace korv;

namespace {

const desk::Corners kMatCorners{{{250, 170}, {950, 170}, {950, 730}, {250, 730}}};
constexpr desk::Colour kGreen{40, 105, 75};
constexpr desk::Colour kSheetWhite{236, 235, 228};
constexpr int kBlankRim = 24;
constexpr int kLineWidth = 3;

struct Grid
{
    desk::Colour ground = kGreen;
    double line = 1.6; ///< brightness of a line, by that of the ground
    int across = 28; ///< pixels from one line to the next; 0 for none
    int down = 28;
};

bool isOnLine(const Grid &grid, int x, int y)
{
    const int left = x - 250 - kBlankRim;
    const int top = y - 170 - kBlankRim;
    if (left < 0 || top < 0 || left >= 700 - 2 * kBlankRim || top >= 560 - 2 * kBlankRim)
        return false;
    return (grid.across > 0 && left % grid.across < kLineWidth)
        || (grid.down > 0 && top % grid.down < kLineWidth);
}

Image draw(const Grid &grid)
{
    desk::Scene scene;
    scene.sheets.push_back({kMatCorners, grid.ground, false});
    Image image = desk::draw(scene);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (!isOnLine(grid, x, y))
                continue;
            for (int channel = 0; channel < 3; ++channel) {
                std::uint8_t &level = image.row(y)[3 * x + channel];
                level = static_cast<std::uint8_t>(std::min(255.0, level * grid.line));
            }
        }
    }
    return image;
}

std::optional<Quadrilateral> sheetOn(const Grid &grid)
{
    HelperThread core;
    const Image image = draw(grid);
    return findSheet(image, core);
}

/// What is said about the rectangle, however much its outline is trusted.
bool isSeenAsMat(const Grid &grid)
{
    HelperThread core;
    const Image image = draw(grid);
    const crop::SheetSearch search(image, core);
    Quadrilateral mat;
    mat.corners = kMatCorners;
    return search.isCuttingMat(crop::cornersOf(mat));
}

} // namespace

TEST(CuttingMat, emptyMatIsNoSheet)
{
    for (const int gap : {18, 28, 60}) {
        Grid grid;
        grid.across = gap;
        grid.down = gap;
        EXPECT_TRUE(isSeenAsMat(grid)) << gap;
        EXPECT_FALSE(sheetOn(grid)) << gap;
    }
}

TEST(CuttingMat, squaredPaperIsNone)
{
    Grid grid;
    grid.ground = kSheetWhite;
    grid.line = 0.6;
    EXPECT_FALSE(isSeenAsMat(grid));
    EXPECT_TRUE(sheetOn(grid));
}

TEST(CuttingMat, sheetWithPaleLinesInOneDirectionIsNone)
{
    Grid grid;
    grid.across = 0;
    EXPECT_FALSE(isSeenAsMat(grid));
}

TEST(CuttingMat, paleTableWithNarrowRowsIsNone)
{
    Grid grid;
    grid.across = 56;
    EXPECT_FALSE(isSeenAsMat(grid));
}

TEST(CuttingMat, outlineTooSmallForAGridIsNone)
{
    HelperThread core;
    const Image image = draw({});
    const crop::SheetSearch search(image, core);
    EXPECT_FALSE(search.isCuttingMat({{{300, 300}, {304, 300}, {304, 303}, {300, 303}}}));
    EXPECT_FALSE(search.isCuttingMat({{{300, 300}, {300, 300}, {300, 300}, {300, 300}}}));
}
