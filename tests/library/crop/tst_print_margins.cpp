#include "library/crop/outlines/printed_border.h"

#include "tests/library/support/desk.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

using namespace korv;
using namespace korv::crop;

namespace {

using Ground = std::function<desk::Colour(int, int)>;

constexpr desk::Colour kReceipt{226, 224, 216};
constexpr desk::Colour kBlack{40, 38, 42};
constexpr desk::Colour kBoard{112, 92, 74};
constexpr double kTableStep = 1;
constexpr double kRimReach = 4;
constexpr double kOnRim = 1;

desk::Colour board(int /*x*/, int /*y*/)
{
    return kBoard;
}

/// Paper from 300 to 700 across and 100 to 800 down; columns of letters from 320 to 680, and a bar code
/// from 770 to 790 down.
bool isPaperAt(int x, int y)
{
    return x >= 300 && x < 700 && y >= 100 && y < 800;
}

bool isPrintAt(int x, int y)
{
    if (x < 320 || x >= 680 || y < 120)
        return false;
    const bool isLetter = y < 750 && y / 8 % 2 == 0 && (x < 400 || x >= 600) && x / 3 % 2 == 0;
    const bool isBar = y >= 770 && y < 790 && x * x % 7 < 4;
    return isLetter || isBar;
}

Image printOn(const Ground &ground, PixelFormat format = PixelFormat::Rgb24)
{
    Image image(1000, 900, format);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const desk::Colour colour = !isPaperAt(x, y) ? ground(x, y)
                : isPrintAt(x, y)                        ? kBlack
                                                         : kReceipt;
            const int channels = image.channels();
            for (int channel = 0; channel < channels; ++channel)
                image.row(y)[channels * x + channel] =
                    static_cast<std::uint8_t>(colour[static_cast<std::size_t>(channel)]);
        }
    }
    return image;
}

Refined outlineOf(double left, double top, double right, double bottom)
{
    Refined outline;
    outline.corners = {{{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
    outline.agreements = {1, 1, 1, 1};
    return outline;
}

const Refined kWholePaper = outlineOf(299.5, 99.5, 699.5, 799.5);

Refined withMarginsIn(const Image &image, const Refined &outline)
{
    HelperThread core;
    return withMargins(image, outline, kTableStep, kRimReach, core);
}

void expectWholePaper(const Refined &outline)
{
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(outline.corners[i].x, kWholePaper.corners[i].x, kOnRim);
        EXPECT_NEAR(outline.corners[i].y, kWholePaper.corners[i].y, kOnRim);
        EXPECT_GE(outline.agreements[i], kStraight);
    }
}

} // namespace

TEST(PrintMargins, aSideOnABarCodeMovesToTheEndOfThePaper)
{
    expectWholePaper(withMarginsIn(printOn(board), outlineOf(299.5, 99.5, 699.5, 789.5)));
}

TEST(PrintMargins, sidesOnColumnsMoveToo)
{
    expectWholePaper(withMarginsIn(printOn(board), outlineOf(319.5, 99.5, 679.5, 789.5)));
}

TEST(PrintMargins, aSideThatIsTurnedIsLaidAlongTheRim)
{
    Refined turned = kWholePaper;
    turned.corners[2].y = 790.5;
    turned.corners[3].y = 794;
    expectWholePaper(withMarginsIn(printOn(board), turned));
}

TEST(PrintMargins, sidesOnTheRimStay)
{
    EXPECT_EQ(withMarginsIn(printOn(board), kWholePaper).corners, kWholePaper.corners);
}

TEST(PrintMargins, aDeskAsLightAsThePaperIsNoMargin)
{
    const Refined outline = outlineOf(299.5, 99.5, 699.5, 789.5);
    const Image image = printOn([](int, int) { return kReceipt; });
    EXPECT_EQ(withMarginsIn(image, outline).corners, outline.corners);
}

TEST(PrintMargins, aStripOfAnotherColourIsNoMargin)
{
    const Image image = printOn([](int, int y) {
        return y >= 800 && y < 812 ? desk::Colour{200, 184, 160} : kBoard;
    });
    EXPECT_EQ(withMarginsIn(image, kWholePaper).corners, kWholePaper.corners);
}

TEST(PrintMargins, whatEndsOnNoLineIsNoMargin)
{
    const Refined outline = outlineOf(299.5, 99.5, 699.5, 789.5);
    const Image image = printOn(
        [](int x, int y) { return y >= 800 && y < 800 + (x / 10 * 7) % 13 ? kReceipt : kBoard; });
    EXPECT_EQ(withMarginsIn(image, outline).corners, outline.corners);
}

TEST(PrintMargins, aWideStripOfPaperIsNoMargin)
{
    const Refined outline = outlineOf(319.5, 99.5, 699.5, 799.5);
    HelperThread core;
    EXPECT_EQ(withMargins(printOn(board), outline, kTableStep / 2, kRimReach, core).corners,
              outline.corners);
}

TEST(PrintMargins, grayPicturesHaveMarginsToo)
{
    expectWholePaper(
        withMarginsIn(printOn(board, PixelFormat::Gray8), outlineOf(319.5, 99.5, 699.5, 789.5)));
}
