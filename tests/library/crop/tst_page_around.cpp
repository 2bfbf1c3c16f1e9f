// Figures on pages that run out of the frame and have nothing else on them.

#include "library/crop/crop.h"
#include "library/crop/sheet_search.h"

#include "tests/library/support/desk.h"

#include <gtest/gtest.h>
#include <optional>

using namespace korv;

namespace {

constexpr desk::Colour kClipped{300, 300, 300}; ///< white, however the light falls
constexpr desk::Colour kPaper{225, 224, 218};
constexpr desk::Colour kMat{40, 105, 75};
constexpr desk::Colour kInk{60, 60, 60};

const desk::Corners kFigure{{{420, 260}, {860, 268}, {852, 620}, {412, 612}}};

desk::Sheet printed(const desk::Corners &corners, const desk::Colour &colour)
{
    desk::Sheet result{corners, colour, false};
    result.printed = true;
    return result;
}

desk::Scene pageOnAMat(const desk::Corners &page, const desk::Colour &paper)
{
    desk::Scene scene;
    scene.colour = kMat;
    scene.sheets.push_back({page, paper, false});
    return scene;
}

std::optional<Quadrilateral> sheetIn(const desk::Scene &scene)
{
    const Image image = desk::draw(scene);
    HelperThread core;
    return findSheet(image, core);
}

/// What is said about the figure, however much its outline is trusted.
bool isFigureOnAPage(const desk::Scene &scene)
{
    const Image image = desk::draw(scene);
    HelperThread core;
    crop::SheetSearch search(image, core);
    search.searchAll();
    Quadrilateral figure;
    figure.corners = kFigure;
    return search.isOnAPage(crop::cornersOf(figure));
}

// what runs out of the frame above and below, to the right, and on three sides
const desk::Corners kStrip{{{240, -60}, {1010, -46}, {994, 960}, {224, 946}}};
const desk::Corners kCorner{{{250, 120}, {1400, 141}, {1390, 1000}, {240, 979}}};
const desk::Corners kMostOfTheFrame{{{-200, -160}, {1010, -138}, {990, 1100}, {-220, 1080}}};

} // namespace

TEST(PageAround, tintedPanelOnABlankPageIsNoSheet)
{
    for (const desk::Colour &paper : {kPaper, kClipped}) {
        for (const desk::Corners &page : {kStrip, kCorner}) {
            for (const desk::Colour &colour :
                 {desk::Colour{235, 230, 180}, {205, 220, 190}, {90, 110, 150}}) {
                desk::Scene scene = pageOnAMat(page, paper);
                scene.sheets.push_back(printed(kFigure, colour));
                EXPECT_FALSE(sheetIn(scene)) << paper[0] << " " << page[0].y << " " << colour[0];
            }
        }
    }
}

TEST(PageAround, panelThatIsLighterThanThePageIsNoSheet)
{
    desk::Scene scene = pageOnAMat(kStrip, {205, 200, 185});
    scene.sheets.push_back(printed(kFigure, {238, 238, 236}));
    EXPECT_FALSE(sheetIn(scene));
}

TEST(PageAround, oneEdgeOfThePageIsEnoughAroundADarkPicture)
{
    desk::Scene scene = pageOnAMat(kMostOfTheFrame, kClipped);
    scene.sheets.push_back(printed(kFigure, {120, 60, 90}));
    EXPECT_TRUE(isFigureOnAPage(scene));
    EXPECT_FALSE(sheetIn(scene));
}

TEST(PageAround, oneEdgeIsNotEnoughAroundWhatIsAsLight)
{
    desk::Scene scene = pageOnAMat(kMostOfTheFrame, kPaper);
    scene.sheets.push_back(printed(kFigure, {235, 230, 180}));
    EXPECT_FALSE(isFigureOnAPage(scene));
}

TEST(PageAround, frameOnOverexposedPaperIsSeen)
{
    desk::Scene scene;
    scene.surface = desk::Surface::Plain;
    scene.colour = kClipped;
    scene.sheets.push_back(printed(kFigure, kInk));
    scene.sheets.push_back(printed({{{426, 266}, {854, 274}, {846, 614}, {418, 606}}}, kClipped));
    EXPECT_TRUE(isFigureOnAPage(scene));
}

TEST(PageAround, sheetOnALightDeskIsNoFigure)
{
    for (const bool endsAtAnAngle : {false, true}) {
        desk::Scene scene;
        scene.surface = desk::Surface::Plain;
        scene.colour = {205, 203, 198};
        if (endsAtAnAngle)
            scene.sheets.push_back(
                printed({{{800, -10}, {1300, -10}, {1300, 500}, {1290, 490}}}, {60, 45, 40}));
        scene.sheets.push_back({kFigure, {90, 110, 150}});
        EXPECT_FALSE(isFigureOnAPage(scene));
        EXPECT_TRUE(sheetIn(scene));
    }
}

TEST(PageAround, sheetOnAMatThatEndsBesideItIsNoFigure)
{
    desk::Scene scene;
    scene.colour = {150, 120, 90};
    scene.sheets.push_back({kStrip, kMat, false});
    scene.sheets.push_back({kFigure, kPaper});
    EXPECT_FALSE(isFigureOnAPage(scene));
    EXPECT_TRUE(sheetIn(scene));
}

TEST(PageAround, outlineAtTheFramesBorderIsNotJudged)
{
    desk::Scene scene = pageOnAMat(kStrip, kPaper);
    const Image image = desk::draw(scene);
    HelperThread core;
    crop::SheetSearch search(image, core);
    search.searchAll();
    EXPECT_FALSE(search.isOnAPage({{{0, 0}, {1199, 0}, {1199, 899}, {0, 899}}}));
}
