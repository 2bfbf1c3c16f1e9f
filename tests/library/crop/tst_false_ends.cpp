#include "library/crop/outlines/false_ends.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

using namespace korv;
using namespace korv::crop;

namespace {

using Colour = std::array<int, 3>;
using Painter = std::function<Colour(int, int)>;

constexpr Colour kWhite{214, 211, 202};
constexpr Colour kShadow{172, 170, 162};
constexpr Colour kInk{50, 48, 52};
constexpr Colour kCyan{140, 214, 226};
constexpr Colour kGrayDesk{168, 168, 166};
constexpr Colour kWood{120, 86, 58};
constexpr Colour kSeam{52, 36, 26};

// the receipt lies upright, and its bar code is printed across its lower end
constexpr int kLeft = 400;
constexpr int kRight = 700;
constexpr int kTop = 80;
constexpr int kBottom = 820;
constexpr int kBarsFrom = 760;
constexpr int kBarsTo = 796;
constexpr double kReach = 6.5;
constexpr double kExact = 2.5; ///< pixels from the rim

Image painted(const Painter &colourAt)
{
    Image image(1200, 900, PixelFormat::Rgb24);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const Colour colour = colourAt(x, y);
            for (std::size_t channel = 0; channel < 3; ++channel)
                image.row(y)[3 * x + static_cast<int>(channel)] =
                    static_cast<std::uint8_t>(colour[channel]);
        }
    }
    return image;
}

bool isOnReceipt(int x, int y)
{
    return x >= kLeft && x < kRight && y >= kTop && y < kBottom;
}

/// The receipt with its bar code, and what is around it.
Image receipt(Colour paper, const Painter &around)
{
    return painted([&](int x, int y) {
        if (!isOnReceipt(x, y))
            return around(x, y);
        const bool isBar =
            y >= kBarsFrom && y < kBarsTo && x > kLeft + 20 && x < kRight - 20 && x * x % 7 < 4;
        return isBar ? kInk : paper;
    });
}

/// A desk of the paper's own colour, on which only a narrow shadow says where the paper ends.
Colour narrowShadow(int x, int y)
{
    return isOnReceipt(std::clamp(x, kLeft, kRight - 1), std::clamp(y, kTop, kBottom - 1))
            && x >= kLeft - 4 && x < kRight + 4 && y >= kTop - 4 && y < kBottom + 4
        ? kShadow
        : kWhite;
}

Colour grayDesk(int /*x*/, int /*y*/)
{
    return kGrayDesk;
}

/// The receipt's outline with its lower corners there.
Corners outlineDownTo(double lowerRight, double lowerLeft)
{
    return {{{kLeft - 0.5, kTop - 0.5},
             {kRight - 0.5, kTop - 0.5},
             {kRight - 0.5, lowerRight},
             {kLeft - 0.5, lowerLeft}}};
}

Corners correctedIn(const Image &image, const Corners &outline)
{
    HelperThread core;
    const SearchPicture picture = makeSearchPicture(image, core);
    return withoutFalseEnds(image, picture, outline, kReach, core);
}

void expectWholeReceipt(const Corners &outline)
{
    EXPECT_NEAR(outline[2].y, kBottom, kExact);
    EXPECT_NEAR(outline[3].y, kBottom, kExact);
    EXPECT_NEAR(outline[2].x, kRight - 0.5, 0.1);
    EXPECT_NEAR(outline[3].x, kLeft - 0.5, 0.1);
    EXPECT_EQ(outline[0], outlineDownTo(0, 0)[0]);
}

} // namespace

TEST(FalseEnds, aBarCodeIsNoEndOnADeskOfThePapersColour)
{
    const Image image = receipt(kWhite, narrowShadow);
    expectWholeReceipt(correctedIn(image, outlineDownTo(kBarsFrom, kBarsFrom)));
    expectWholeReceipt(correctedIn(image, outlineDownTo(kBarsTo, kBarsTo)));
}

TEST(FalseEnds, aBarCodeIsNoEndOnADeskOfAnotherColour)
{
    const Image image = receipt(kCyan, grayDesk);
    expectWholeReceipt(correctedIn(image, outlineDownTo(kBarsFrom, kBarsFrom)));
}

TEST(FalseEnds, anEndThatOnlyOneRimReachesIsTurned)
{
    const Image image = receipt(kCyan, grayDesk);
    expectWholeReceipt(correctedIn(image, outlineDownTo(kBarsFrom, kBottom - 0.5)));
}

TEST(FalseEnds, aPanelOfAnotherColourIsPartOfItsSheet)
{
    const Image image = painted([](int x, int y) {
        return !isOnReceipt(x, y) ? kGrayDesk : y < 600 ? kCyan : kInk;
    });
    expectWholeReceipt(correctedIn(image, outlineDownTo(599.5, 599.5)));
}

TEST(FalseEnds, aTrueEndStays)
{
    const Corners whole = outlineDownTo(kBottom - 0.5, kBottom - 0.5);
    EXPECT_EQ(correctedIn(receipt(kWhite, narrowShadow), whole), whole);
    EXPECT_EQ(correctedIn(receipt(kCyan, grayDesk), whole), whole);
}

TEST(FalseEnds, seamsOfPlanksInLineWithASheetAreNoRims)
{
    const Corners whole = outlineDownTo(kBottom - 0.5, kBottom - 0.5);
    const auto isSeam = [](int x, int at) { return x >= at - 3 && x < at + 3; };
    const Image one = receipt(kWhite, [&](int x, int) { return isSeam(x, kLeft) ? kSeam : kWood; });
    EXPECT_EQ(correctedIn(one, whole), whole);
    const Image both = receipt(
        kWhite, [&](int x, int) { return isSeam(x, kLeft) || isSeam(x, kRight) ? kSeam : kWood; });
    EXPECT_EQ(correctedIn(both, whole), whole);
}

TEST(FalseEnds, aNarrowThingAsWideAsTheSheetIsNotPartOfIt)
{
    const Image image = receipt(kWhite, [](int x, int y) {
        return x >= kLeft && x < kRight && y > kTop && y < kBottom + 20 ? kInk : kGrayDesk;
    });
    const Corners whole = outlineDownTo(kBottom - 0.5, kBottom - 0.5);
    EXPECT_EQ(correctedIn(image, whole), whole);
}

TEST(FalseEnds, whereNoOtherRimIsFoundTheEndStays)
{
    // a light band as wide as the receipt goes on to the frame
    const Image image = receipt(kCyan, [](int x, int y) {
        return x >= kLeft && x < kRight && y > kTop ? kCyan : kGrayDesk;
    });
    const Corners outline = outlineDownTo(kBarsTo, kBarsTo);
    EXPECT_EQ(correctedIn(image, outline), outline);
}

TEST(FalseEnds, aRimThatIsHardlySeenSaysNothing)
{
    const Image image = receipt(kWhite, [](int x, int y) {
        const int grain = (x / 5 * 7919 + y / 5 * 104729) % 97;
        return Colour{kWhite[0] - grain, kWhite[1] - grain, kWhite[2] - grain};
    });
    const Corners outline = outlineDownTo(kBarsTo, kBarsTo);
    EXPECT_EQ(correctedIn(image, outline), outline);
}

TEST(FalseEnds, grayAndTinyPicturesAreLookedAtToo)
{
    Image image(90, 120, PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool isBar = x >= 26 && x < 64 && y >= 96 && y < 100;
            const bool isPaper = x >= 20 && x < 70 && y >= 10 && y < 110;
            image.row(y)[x] = isBar ? 60 : isPaper ? 220 : 120;
        }
    }
    const Corners outline{{{19.5, 9.5}, {69.5, 9.5}, {69.5, 95.5}, {19.5, 95.5}}};
    const Corners corrected = correctedIn(image, outline);
    EXPECT_NEAR(corrected[2].y, 109.5, 1.5);
    EXPECT_NEAR(corrected[3].y, 109.5, 1.5);
}

TEST(FalseEnds, anOutlineAsLargeAsTheFrameStays)
{
    const Image image = painted([](int x, int) { return x % 40 < 4 ? kInk : kWhite; });
    const Corners outline{{{0, 0}, {1199, 0}, {1199, 899}, {0, 899}}};
    EXPECT_EQ(correctedIn(image, outline), outline);
}
