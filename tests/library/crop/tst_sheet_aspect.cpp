#include "library/crop/sheet_aspect.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

namespace {

constexpr int kFrameWidth = 1600;
constexpr int kFrameHeight = 1200;

struct Camera
{
    double focalLength = 1.0; ///< in frame widths
    double tilt = 0; ///< degrees
    double tiltDirection = 0; ///< degrees
};

/// Where a camera above the desk sees the corners of a sheet turned by `degrees` around a point off
/// the middle.
Quadrilateral seen(const Camera &camera, double width, double height, double degrees)
{
    const double tilt = camera.tilt * M_PI / 180;
    const double towards = camera.tiltDirection * M_PI / 180;
    const double turn = degrees * M_PI / 180;
    const double focal = camera.focalLength * kFrameWidth;
    constexpr double kDistance = 500;
    Quadrilateral sheet;
    constexpr double kSigns[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    for (std::size_t i = 0; i < 4; ++i) {
        const double a = kSigns[i][0] * width / 2;
        const double b = kSigns[i][1] * height / 2;
        const double x = 20 + a * std::cos(turn) - b * std::sin(turn);
        const double y = -15 + a * std::sin(turn) + b * std::cos(turn);
        // the desk is turned about an axis that lies in it
        const double along = x * std::cos(towards) + y * std::sin(towards);
        const double across = -x * std::sin(towards) + y * std::cos(towards);
        const double turned = across * std::cos(tilt);
        const double depth = kDistance + across * std::sin(tilt);
        const double flatX = along * std::cos(towards) - turned * std::sin(towards);
        const double flatY = along * std::sin(towards) + turned * std::cos(towards);
        sheet.corners[i] = {kFrameWidth / 2.0 - 0.5 + focal * flatX / depth,
                            kFrameHeight / 2.0 - 0.5 + focal * flatY / depth};
    }
    return sheet;
}

} // namespace

TEST(SheetAspect, tiltDoesNotChangeTheAspect)
{
    for (const double focalLength : {0.85, 1.0, 1.15}) {
        for (const double tilt : {0.0, 5.0, 10.0, 15.0}) {
            for (const double direction : {0.0, 40.0, 90.0, 200.0}) {
                for (const double turn : {0.0, 12.0, 45.0, 80.0}) {
                    const Quadrilateral sheet =
                        seen({focalLength, tilt, direction}, 100, 120, turn);
                    EXPECT_NEAR(sheetAspect(sheet, kFrameWidth, kFrameHeight) / (100.0 / 120.0), 1,
                                0.015)
                        << focalLength << ' ' << tilt << ' ' << direction << ' ' << turn;
                }
            }
        }
    }
}

TEST(SheetAspect, commonFormatsComeOutExactly)
{
    const Camera camera{0.95, 12, 70};
    EXPECT_DOUBLE_EQ(sheetAspect(seen(camera, 210, 297, 8), kFrameWidth, kFrameHeight),
                     1 / std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(sheetAspect(seen(camera, 297, 210, 8), kFrameWidth, kFrameHeight),
                     std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(sheetAspect(seen(camera, 215.9, 279.4, -5), kFrameWidth, kFrameHeight),
                     8.5 / 11);
    EXPECT_DOUBLE_EQ(sheetAspect(seen(camera, 85.6, 53.98, 20), kFrameWidth, kFrameHeight),
                     85.60 / 53.98);
}

TEST(SheetAspect, onlyWhatIsWithinTwoPercentSnaps)
{
    EXPECT_DOUBLE_EQ(snappedToFormat(1.019 * std::sqrt(2.0)), std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(snappedToFormat(1.022 * std::sqrt(2.0)), 1.022 * std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(snappedToFormat(0.5), 0.5);
    EXPECT_DOUBLE_EQ(snappedToFormat(1.0), 1.0);
}

TEST(SheetAspect, cornersThatSpanNothingCountAsASquare)
{
    const Quadrilateral point{{{{5, 5}, {5, 5}, {5, 5}, {5, 5}}}};
    const Quadrilateral line{{{{0, 0}, {100, 0}, {200, 0}, {300, 0}}}};
    for (const Quadrilateral &each : {point, line}) {
        const double aspect = sheetAspect(each, kFrameWidth, kFrameHeight);
        EXPECT_TRUE(std::isfinite(aspect));
        EXPECT_GT(aspect, 0.5);
        EXPECT_LT(aspect, 2);
    }
}
