#include "library/video/yuyv.h"

#include "library/base/bytes.h"
#include "library/image/image.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <gtest/gtest.h>

using namespace korv;

namespace {

/// R, G, B by the definition of ITU-R BT.601, in floating point.
std::array<double, 3> wanted(int luma, int blueDifference, int redDifference)
{
    const double y = (luma - 16) * 255.0 / 219;
    const double b = (blueDifference - 128) * 255.0 / 224;
    const double r = (redDifference - 128) * 255.0 / 224;
    return {y + 1.402 * r, y - 0.344136 * b - 0.714136 * r, y + 1.772 * b};
}

void expectRgb(const std::uint8_t *rgb, const std::array<double, 3> &exact)
{
    for (std::size_t i = 0; i < 3; ++i)
        ASSERT_NEAR(rgb[i], std::clamp(exact[i], 0.0, 255.0), 1) << "channel " << i;
}

int converted(unsigned width, unsigned height)
{
    Bytes yuyv(std::size_t{4} * 4 * 2);
    Bytes rgb(std::size_t{4} * 4 * 3);
    const Result<void> done = yuyvToRgb(yuyv.data(), rgb.data(), width, height);
    return done ? 0 : done.error().code;
}

} // namespace

TEST(YuyvToRgb, everyColourIsWithinOneLevelOfItsDefinition)
{
    for (int blue = 16; blue <= 240; blue += 7) {
        for (int red = 16; red <= 240; red += 7) {
            Bytes yuyv;
            for (int luma = 16; luma <= 235; ++luma) {
                yuyv.push_back(static_cast<std::uint8_t>(luma));
                yuyv.push_back(static_cast<std::uint8_t>(luma % 2 == 0 ? blue : red));
            }
            Bytes rgb(yuyv.size() / 2 * 3);
            const auto width = static_cast<unsigned>(yuyv.size() / 2);
            ASSERT_TRUE(yuyvToRgb(yuyv.data(), rgb.data(), width, 1));
            for (int luma = 16; luma <= 235; ++luma)
                expectRgb(rgb.data() + 3 * (luma - 16), wanted(luma, blue, red));
        }
    }
}

TEST(YuyvToRgb, bothPixelsOfAPairHaveItsColourAndRowsFollowOneAnother)
{
    const Bytes yuyv = {81, 90, 145, 240, 41, 240, 210, 110}; // red pair above a blue one
    Bytes rgb(12);
    ASSERT_TRUE(yuyvToRgb(yuyv.data(), rgb.data(), 2, 2));
    expectRgb(rgb.data(), wanted(81, 90, 240));
    expectRgb(rgb.data() + 3, wanted(145, 90, 240));
    expectRgb(rgb.data() + 6, wanted(41, 240, 110));
    expectRgb(rgb.data() + 9, wanted(210, 240, 110));
}

TEST(YuyvToRgb, levelsBeyondTheRangeAreBlackAndWhite)
{
    const Bytes yuyv = {0, 128, 255, 128};
    Bytes rgb(6);
    ASSERT_TRUE(yuyvToRgb(yuyv.data(), rgb.data(), 2, 1));
    EXPECT_EQ(rgb, (Bytes{0, 0, 0, 255, 255, 255}));
}

TEST(YuyvToRgb, refusesWhatCannotBeAPicture)
{
    constexpr auto kLimit = static_cast<unsigned>(kMaxSide);
    EXPECT_EQ(converted(4, 4), 0);
    EXPECT_EQ(converted(0, 4), -EINVAL);
    EXPECT_EQ(converted(4, 0), -EINVAL);
    EXPECT_EQ(converted(3, 4), -EINVAL);
    EXPECT_EQ(converted(kLimit + 2, 1), -EINVAL);
    EXPECT_EQ(converted(2, kLimit + 1), -EINVAL);
    Bytes bytes(8);
    EXPECT_EQ(yuyvToRgb(nullptr, bytes.data(), 2, 1).error().code, -EINVAL);
    EXPECT_EQ(yuyvToRgb(bytes.data(), nullptr, 2, 1).error().code, -EINVAL);
}
