#include "library/crop/lines/crop_geometry.h"

#include <gtest/gtest.h>

using namespace korv::crop;

namespace {

const Corners kSheet{{{100, 100}, {500, 110}, {490, 600}, {110, 590}}};

} // namespace

TEST(CropGeometry, aFigureLiesWithinItsSheet)
{
    const Corners figure{{{200, 200}, {400, 200}, {400, 350}, {200, 350}}};
    EXPECT_TRUE(liesWithin(figure, kSheet));
    EXPECT_FALSE(liesWithin(kSheet, figure));
}

TEST(CropGeometry, aPartThatSharesThreeSidesLiesWithinItsSheet)
{
    // the corners below a fold, found two pixels outside the sheet
    const Corners part{{{101, 240}, {500, 250}, {491, 602}, {108, 592}}};
    EXPECT_TRUE(liesWithin(part, kSheet));
    EXPECT_FALSE(liesWithin(kSheet, part));
}

TEST(CropGeometry, theSameSheetFoundTwiceDoesNotLieWithinItself)
{
    EXPECT_FALSE(liesWithin(kSheet, kSheet));
    const Corners tighter{{{103, 103}, {497, 113}, {487, 597}, {113, 587}}};
    EXPECT_FALSE(liesWithin(tighter, kSheet));
}

TEST(CropGeometry, whatOverlapsOrLiesApartDoesNotLieWithin)
{
    const Corners overlapping{{{300, 300}, {700, 300}, {700, 500}, {300, 500}}};
    EXPECT_FALSE(liesWithin(overlapping, kSheet));
    const Corners apart{{{600, 100}, {800, 100}, {800, 300}, {600, 300}}};
    EXPECT_FALSE(liesWithin(apart, kSheet));
}
