#include "library/crop/crop.h"

#include "tests/library/support/desk.h"
#include "tests/library/support/folder_entries.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/library/support/wait.h"

#include <cmath>
#include <gtest/gtest.h>
#include <thread>

using namespace korv;
using testing_support::threadCount;
using testing_support::threadCountAtRest;

namespace {

std::optional<Quadrilateral> sheetIn(const Image &image)
{
    HelperThread core;
    return findSheet(image, core);
}

Image cutOut(const Image &image, const Quadrilateral &sheet)
{
    HelperThread core;
    return cutSheet(image, sheet, core);
}

const desk::Corners kTilted = {{{260.3, 130.6}, {1000.2, 210.9}, {930.5, 820.1}, {190.8, 760.4}}};
const desk::Corners kLeft = {{{90, 220}, {520, 240}, {510, 640}, {80, 620}}};
const desk::Corners kRight = {{{660, 230}, {1100, 220}, {1110, 630}, {670, 640}}};

desk::Scene sceneOf(const desk::Corners &sheet)
{
    desk::Scene scene;
    scene.sheets.push_back({sheet});
    return scene;
}

void expectFound(const desk::Scene &scene, const desk::Corners &sheet, double within = 1.5)
{
    const std::optional<Quadrilateral> found = sheetIn(desk::draw(scene));
    ASSERT_TRUE(found);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(found->corners[i].x, sheet[i].x, within) << i;
        EXPECT_NEAR(found->corners[i].y, sheet[i].y, within) << i;
    }
}

} // namespace

TEST(Crop, cornersOfATiltedSheetAreFoundToThePixel)
{
    expectFound(sceneOf(kTilted), kTilted);
}

TEST(Crop, everyAngleIsFound)
{
    for (int degrees = 0; degrees < 90; degrees += 9) {
        desk::Corners sheet;
        for (std::size_t i = 0; i < 4; ++i) {
            const double angle = (degrees + 90.0 * static_cast<double>(i) - 130) * M_PI / 180;
            sheet[i] = {600 + 330 * std::cos(angle), 450 + 330 * std::sin(angle)};
        }
        const std::optional<Quadrilateral> found = sheetIn(desk::draw(sceneOf(sheet)));
        ASSERT_TRUE(found) << degrees;
        for (const auto &corner : sheet) {
            double nearest = 1e9;
            for (const auto &each : found->corners)
                nearest = std::min(nearest, std::hypot(each.x - corner.x, each.y - corner.y));
            EXPECT_LT(nearest, 2) << degrees;
        }
    }
}

TEST(Crop, paperOnADeskOfNearlyItsColourIsFound)
{
    desk::Scene scene = sceneOf(kTilted);
    scene.surface = desk::Surface::Plain;
    scene.colour = {224, 222, 214};
    expectFound(scene, kTilted, 3);
}

TEST(Crop, shadowAndUnevenLightDoNotHideTheSheet)
{
    desk::Scene scene = sceneOf(kTilted);
    scene.lightFall = 0.45;
    scene.shadow = 0.4;
    expectFound(scene, kTilted);
}

TEST(Crop, checkedClothDoesNotHideTheSheet)
{
    desk::Scene scene = sceneOf(kTilted);
    scene.surface = desk::Surface::Checks;
    scene.colour = {150, 60, 70};
    expectFound(scene, kTilted, 2);
}

TEST(Crop, fingerOverAnEdgeDoesNotBendIt)
{
    desk::Scene scene = sceneOf(kTilted);
    scene.discs = {{960, 520, 45}, {600, 800, 40}};
    expectFound(scene, kTilted, 2.5);
}

TEST(Crop, blankCardIsFound)
{
    const desk::Corners card = {{{480, 350}, {735, 340}, {740, 500}, {486, 511}}};
    desk::Scene scene;
    scene.sheets.push_back({card, {200, 215, 230}, false});
    expectFound(scene, card);
}

TEST(Crop, cutSheetIsStraightAndFreeOfTheDesk)
{
    const Image scene = desk::draw(sceneOf(kTilted));
    const std::optional<Quadrilateral> found = sheetIn(scene);
    ASSERT_TRUE(found);
    const Image cut = cutOut(scene, *found);
    EXPECT_GE(cut.width(), 742);
    EXPECT_GE(cut.height(), 612);
    int deskPixels = 0;
    for (int y = 0; y < cut.height(); ++y) {
        for (int x = 0; x < cut.width(); ++x) {
            const std::uint8_t *pixel = cut.row(y) + 3 * x;
            deskPixels += pixel[0] > pixel[2] + 40 ? 1 : 0;
        }
    }
    EXPECT_LT(deskPixels, (cut.width() + cut.height()) * 2);
}

TEST(Crop, cutSheetHasTheFormatsOwnAspect)
{
    // an A4 sheet seen straight from above, its corners a little off
    const Quadrilateral sheet{{{{200, 100}, {622, 102}, {620, 699}, {201, 697}}}};
    const Image cut = cutOut(desk::draw({}), sheet);
    EXPECT_NEAR(static_cast<double>(cut.height()) / cut.width(), std::sqrt(2.0), 0.003);
}

TEST(Crop, clearlyLargerOfTwoSheetsIsTaken)
{
    const desk::Corners large = {{{60, 120}, {720, 140}, {700, 800}, {50, 780}}};
    const desk::Corners small = {{{820, 300}, {1120, 290}, {1125, 560}, {825, 570}}};
    desk::Scene scene = sceneOf(large);
    scene.sheets.push_back({small});
    expectFound(scene, large);
}

TEST(Crop, twoSheetsAlikeAreLeftAlone)
{
    desk::Scene scene = sceneOf(kLeft);
    scene.sheets.push_back({kRight});
    EXPECT_FALSE(sheetIn(desk::draw(scene)));
}

TEST(Crop, emptyDeskIsLeftAlone)
{
    for (const auto surface : {desk::Surface::Plain, desk::Surface::Grain, desk::Surface::Checks}) {
        desk::Scene scene;
        scene.surface = surface;
        scene.shadow = 0.3;
        EXPECT_FALSE(sheetIn(desk::draw(scene))) << static_cast<int>(surface);
    }
}

TEST(Crop, sheetLargerThanTheFrameIsLeftAlone)
{
    const desk::Corners sheet = {{{-200, -150}, {1400, -90}, {1380, 1050}, {-180, 1000}}};
    EXPECT_FALSE(sheetIn(desk::draw(sceneOf(sheet))));
}

TEST(Crop, sheetThatLeavesTheFrameIsLeftAlone)
{
    const desk::Corners sheet = {{{300, 200}, {1500, 230}, {1480, 700}, {280, 680}}};
    EXPECT_FALSE(sheetIn(desk::draw(sceneOf(sheet))));
}

TEST(Crop, threadsAtOnceFindTheSame)
{
    const Image scene = desk::draw(sceneOf(kTilted));
    const std::optional<Quadrilateral> alone = sheetIn(scene);
    std::array<std::optional<Quadrilateral>, 3> found;
    std::vector<std::thread> threads;
    for (auto &each : found)
        threads.emplace_back([&each, &scene] { each = sheetIn(scene); });
    for (std::thread &each : threads)
        each.join();
    ASSERT_TRUE(alone);
    for (const auto &each : found) {
        ASSERT_TRUE(each);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(each->corners[i].x, alone->corners[i].x);
            EXPECT_EQ(each->corners[i].y, alone->corners[i].y);
        }
    }
}

TEST(Crop, noThreadOutlivesTheCrop)
{
    const Image scene = desk::draw(sceneOf(kTilted));
    const std::ptrdiff_t before = threadCountAtRest();
    const std::optional<Quadrilateral> found = sheetIn(scene);
    ASSERT_TRUE(found);
    EXPECT_GT(cutOut(scene, *found).width(), 0);
    EXPECT_TRUE(testing_support::becomesTrue([=] { return threadCount() == before; }));
}

TEST(Crop, strangePicturesAreLeftAlone)
{
    for (const auto &[width, height] :
         {std::pair{1, 1}, {3, 2000}, {2000, 70}, {64, 64}, {70, 5000}}) {
        EXPECT_FALSE(sheetIn(pictures::numbered(width, height, PixelFormat::Gray8)));
        EXPECT_FALSE(sheetIn(pictures::numbered(width, height, PixelFormat::Rgb24)));
    }
}

TEST(Crop, strangeCornersAreCutSomehow)
{
    const Image scene = desk::draw(sceneOf(kTilted));
    const Quadrilateral point{{{{5, 5}, {5, 5}, {5, 5}, {5, 5}}}};
    const Quadrilateral outside{{{{-500, -500}, {900, -400}, {900, 900}, {-500, 800}}}};
    const Quadrilateral line{{{{0, 0}, {100, 0}, {200, 0}, {300, 0}}}};
    const Quadrilateral dented{{{{100, 100}, {700, 100}, {300, 300}, {100, 700}}}};
    EXPECT_GT(cutOut(scene, point).width(), 0);
    EXPECT_GT(cutOut(scene, line).width(), 0);
    EXPECT_GT(cutOut(scene, dented).width(), 0);
    EXPECT_GT(cutOut(scene, outside).width(), 0);
}
