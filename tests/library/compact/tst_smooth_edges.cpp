#include "library/compact/smooth_edges.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace korv;

namespace {

using Rows = std::vector<std::string>;

/// Ink where the rows have '#'.
Image drawn(const Rows &rows)
{
    Image mask(static_cast<int>(rows.front().size()), static_cast<int>(rows.size()),
               PixelFormat::Gray8);
    for (int y = 0; y < mask.height(); ++y)
        for (int x = 0; x < mask.width(); ++x)
            mask.row(y)[x] =
                rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#' ? 0 : 255;
    mask.setBilevel(true);
    return mask;
}

Rows smoothed(const Rows &rows)
{
    Image mask = drawn(rows);
    HelperThread core;
    compact::smoothEdges(mask, core);
    Rows result;
    for (int y = 0; y < mask.height(); ++y) {
        std::string row;
        for (int x = 0; x < mask.width(); ++x)
            row += mask.row(y)[x] == 0 ? '#' : '.';
        result.push_back(row);
    }
    return result;
}

} // namespace

TEST(SmoothEdges, singlePixelsGo)
{
    EXPECT_EQ(smoothed({"........", "..#.....", ".....##.", ".....##.", "........"}),
              (Rows{"........", "........", ".....##.", ".....##.", "........"}));
}

TEST(SmoothEdges, shortStepsOutOfAHorizontalEdgeGo)
{
    // above and below an edge, of ink and of paper
    EXPECT_EQ(smoothed({"............", "...####.....", "############", "############",
                        "#####....###", "............"}),
              (Rows{"............", "............", "############", "############", "############",
                    "............"}));
    EXPECT_EQ(
        smoothed({"............", "....######..", ".##########.", ".##########.", "............"}),
        (Rows{"............", "............", ".##########.", ".##########.", "............"}));
}

TEST(SmoothEdges, whatIsPartOfALetterStays)
{
    const Rows letters = {
        "....................",
        "...#######..........", // a step that is as long as a round letter's top
        "############........",
        "############....###.", // the end of a stroke
        "................###.",
        "..######........###.", // a slope, down by a pixel at a time
        "..#########.....###.", ".....#########..###.",
        "........######..###.", "....................",
    };
    EXPECT_EQ(smoothed(letters), letters);
}

TEST(SmoothEdges, edgesOfThePictureStay)
{
    const Rows narrow = {"#", ".", "#"};
    EXPECT_EQ(smoothed(narrow), narrow);
    const Rows low = {"#.##.#"};
    EXPECT_EQ(smoothed(low), low);
    const Rows full = {"####", "####", "####"};
    EXPECT_EQ(smoothed(full), full);
}
