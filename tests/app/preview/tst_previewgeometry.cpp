#include "app/preview/previewgeometry.h"

#include <gtest/gtest.h>

#include <climits>

using previewgeometry::fitted;
using previewgeometry::Turn;
using previewgeometry::turnOf;

TEST(PreviewGeometry, knownRotationCodesTurnAsLabelled)
{
    EXPECT_EQ(turnOf(0), Turn::None);
    EXPECT_EQ(turnOf(1), Turn::Left90);
    EXPECT_EQ(turnOf(2), Turn::Right90);
    EXPECT_EQ(turnOf(3), Turn::Half);
}

TEST(PreviewGeometry, oddRotationCodesTurnByHalfExceptMinusOne)
{
    EXPECT_EQ(turnOf(-1), Turn::None);
    for (const int code : {-2, -3, 4, 5, 1000, INT_MAX, INT_MIN})
        EXPECT_EQ(turnOf(code), Turn::Half) << code;
}

TEST(PreviewGeometry, turnedFrameIsFittedByItsTurnedSize)
{
    EXPECT_EQ(fitted({1600, 1200}, Turn::Right90, {640, 480}), QRect(140, 0, 360, 480));
    EXPECT_EQ(fitted({1600, 1200}, Turn::Left90, {640, 480}), QRect(140, 0, 360, 480));
}

TEST(PreviewGeometry, wideFrameIsCentredVertically)
{
    EXPECT_EQ(fitted({1920, 1080}, Turn::None, {640, 480}), QRect(0, 60, 640, 360));
    EXPECT_EQ(fitted({1920, 1080}, Turn::Half, {640, 480}), QRect(0, 60, 640, 360));
}

TEST(PreviewGeometry, smallFrameIsEnlarged)
{
    EXPECT_EQ(fitted({320, 240}, Turn::None, {640, 480}), QRect(0, 0, 640, 480));
    EXPECT_EQ(fitted({100, 10}, Turn::None, {640, 480}), QRect(0, 208, 640, 64));
}

TEST(PreviewGeometry, sidesAndOffsetsAreTruncated)
{
    // scale 1000/641 = 1.56...; height 333 / 1.56... = 213.45...
    EXPECT_EQ(fitted({1000, 333}, Turn::None, {641, 480}), QRect(0, 133, 641, 213));
    // an odd rest: (641 - 640) / 2 = 0
    EXPECT_EQ(fitted({640, 480}, Turn::None, {641, 480}), QRect(0, 0, 640, 480));
}

TEST(PreviewGeometry, nothingIsFittedWithoutASize)
{
    EXPECT_TRUE(fitted({0, 0}, Turn::None, {640, 480}).isEmpty());
    EXPECT_TRUE(fitted({-5, 10}, Turn::None, {640, 480}).isEmpty());
    EXPECT_TRUE(fitted({640, 480}, Turn::None, {0, 0}).isEmpty());
}
