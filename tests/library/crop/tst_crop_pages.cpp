// Pages as they lie under a camera that stands too near, with all that is printed on pages.

#include "library/crop/crop.h"

#include "tests/library/support/desk.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <utility>

using namespace korv;

namespace {

const desk::Colour kPaper{236, 235, 228};

std::optional<Quadrilateral> sheetIn(const desk::Scene &scene)
{
    const Image image = desk::draw(scene);
    HelperThread core;
    return findSheet(image, core);
}

/// A rectangle turned by some degrees.
desk::Corners rectangle(double x, double y, double width, double height, double degrees)
{
    const double cosine = std::cos(degrees * M_PI / 180);
    const double sine = std::sin(degrees * M_PI / 180);
    const auto at = [&](double u, double v) {
        return Quadrilateral::Point{x + u * width / 2 * cosine - v * height / 2 * sine,
                                    y + u * width / 2 * sine + v * height / 2 * cosine};
    };
    return {{at(-1, -1), at(1, -1), at(1, 1), at(-1, 1)}};
}

desk::Sheet figure(const desk::Corners &corners, const desk::Colour &colour)
{
    desk::Sheet result{corners, colour, false};
    result.printed = true;
    return result;
}

/// A frame of ink with writing in it.
void addBox(desk::Scene &scene, double x, double y, double width, double height, double degrees)
{
    scene.sheets.push_back(figure(rectangle(x, y, width, height, degrees), {40, 40, 45}));
    scene.sheets.push_back(figure(rectangle(x, y, width - 10, height - 10, degrees), kPaper));
    scene.sheets.back().written = true;
}

desk::Scene pageAt(const desk::Corners &corners)
{
    desk::Scene scene;
    scene.sheets.push_back({corners, kPaper});
    return scene;
}

const desk::Corners kFrameFilling = {{{-220, -260}, {1420, -210}, {1400, 1250}, {-260, 1190}}};
const std::array<desk::Colour, 4> kColours{
    {{70, 90, 140}, {40, 42, 45}, {190, 60, 50}, {205, 220, 190}}};

} // namespace

TEST(CropOfPages, figureOnAPageThatFillsTheFrameIsNoSheet)
{
    for (const desk::Colour &colour : kColours) {
        for (const auto &[width, degrees] : {std::pair{420.0, 0.0}, {760.0, -8.0}}) {
            desk::Scene scene = pageAt(kFrameFilling);
            scene.sheets.push_back(
                figure(rectangle(560, 470, width, width * 0.7, degrees), colour));
            EXPECT_FALSE(sheetIn(scene)) << colour[0] << " " << width;
        }
    }
}

TEST(CropOfPages, boxOnAPageThatFillsTheFrameIsNoSheet)
{
    for (const auto &[width, degrees] : {std::pair{640.0, 0.0}, {900.0, 2.0}, {640.0, 12.0}}) {
        desk::Scene scene = pageAt(kFrameFilling);
        addBox(scene, 590, 440, width, width * 0.75, degrees);
        EXPECT_FALSE(sheetIn(scene)) << width << " " << degrees;
    }
}

TEST(CropOfPages, figureOnAPageThatRunsOutOfTheFrameIsNoSheet)
{
    const std::array<desk::Corners, 4> pages{{
        {{{180, 120}, {1500, 150}, {1480, 800}, {160, 770}}}, // to the right
        {{{180, 120}, {1020, 140}, {1040, 1400}, {150, 1380}}}, // below
        {{{150, 130}, {1500, 160}, {1500, 1400}, {130, 1380}}}, // both
        {{{-200, -150}, {900, -120}, {880, 1100}, {-210, 1080}}}, // on three sides
    }};
    for (const desk::Corners &page : pages) {
        for (const std::size_t i : {1U, 3U}) {
            desk::Scene scene = pageAt(page);
            scene.sheets.push_back(figure(rectangle(520, 440, 480, 330, 1), kColours[i]));
            EXPECT_FALSE(sheetIn(scene)) << page[0].x << " " << page[1].x << " " << i;
        }
        desk::Scene boxed = pageAt(page);
        addBox(boxed, 520, 440, 500, 400, 1);
        EXPECT_FALSE(sheetIn(boxed)) << page[0].x << " " << page[1].x;
    }
}
