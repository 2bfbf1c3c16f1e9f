#include "cli/serve/pagegeometry.h"

#include <gmock/gmock.h>

namespace {

using cli::limitsOf;
using cli::PagePlan;
using cli::planPage;
using cli::ScanRegion;
using cli::ScanSettings;
using testing::ElementsAre;

constexpr ScanRegion kA4{0, 0, 2480, 3508};
constexpr ScanRegion kA5{0, 0, 1748, 2480};
constexpr ScanRegion kCard{0, 0, 1011, 638};
constexpr ScanRegion kPlaten{0, 0, 3579, 5102};

PagePlan planned(int width, int height, const ScanRegion &region, bool isSheet = true)
{
    ScanSettings settings;
    settings.resolution = 300;
    settings.region = region;
    return planPage({width, height, isSheet}, settings);
}

TEST(PageGeometry, aSheetNearlyOfTheNamedShapeIsExactlyThatLarge)
{
    const PagePlan plan = planned(1500, 2090, kA4);
    EXPECT_EQ(plan.width, 2480);
    EXPECT_EQ(plan.height, 3508);
    EXPECT_FALSE(plan.rotate);
}

TEST(PageGeometry, theRegionNamesThePaper)
{
    EXPECT_EQ(planned(1500, 2121, kA5).height, 2480);
    EXPECT_EQ(planned(856, 540, kCard).width, 1011);
}

TEST(PageGeometry, theWholePlatenLeavesItToTheShape)
{
    EXPECT_EQ(planned(1000, 1414, kPlaten).height, 3508);
    const PagePlan letter = planned(1000, 1294, kPlaten);
    EXPECT_EQ(letter.width, 2550);
    EXPECT_EQ(letter.height, 3300);
    const PagePlan receipt = planned(1000, 4000, kPlaten);
    EXPECT_EQ(receipt.height, 3508);
    EXPECT_EQ(receipt.width, 877);
}

TEST(PageGeometry, aSheetOfAnotherShapeFitsIntoThePaperUndistorted)
{
    const PagePlan plan = planned(1000, 1000, kA4);
    EXPECT_EQ(plan.width, 2480);
    EXPECT_EQ(plan.height, 2480);
}

TEST(PageGeometry, aWholeFrameKeepsItsShape)
{
    const PagePlan plan = planned(3264, 2448, kPlaten, false);
    EXPECT_EQ(plan.width, 3508);
    EXPECT_EQ(plan.height, 2631);
}

TEST(PageGeometry, aSheetAcrossIsTurnedOnlyWhereItDoesNotFit)
{
    EXPECT_TRUE(planned(2121, 1500, kA4).rotate);
    EXPECT_EQ(planned(2121, 1500, kA4).height, 3508);
    EXPECT_FALSE(planned(2121, 1500, kPlaten).rotate);
}

TEST(PageGeometry, theWindowLiesWithinThePage)
{
    const PagePlan inside = planned(1500, 2121, {300, 600, 900, 1200});
    EXPECT_EQ(inside.window.x, 300);
    EXPECT_EQ(inside.window.width, 900);
    const PagePlan beyond = planned(1000, 4000, {3000, 5000, 500, 100});
    EXPECT_GE(beyond.window.width, 1);
    EXPECT_GE(beyond.window.height, 1);
    EXPECT_LE(beyond.window.x + beyond.window.width, beyond.width);
    EXPECT_LE(beyond.window.y + beyond.window.height, beyond.height);
}

TEST(PageGeometry, aFineCameraOffersA3AndMoreResolutions)
{
    const cli::ScannerLimits coarse = limitsOf({"", 640, 480});
    EXPECT_THAT(coarse.resolutions, ElementsAre(75, 100, 150, 200, 300));
    EXPECT_LT(coarse.maxHeight, 4961);
    const cli::ScannerLimits fine = limitsOf({"", 4608, 3456});
    EXPECT_THAT(fine.resolutions, ElementsAre(75, 100, 150, 200, 300, 400));
    EXPECT_GT(fine.maxHeight, 4961);
}

} // namespace
