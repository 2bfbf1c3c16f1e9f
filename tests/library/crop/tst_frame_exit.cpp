// Outlines at the border of the frame, beyond which a page may go on.

#include "library/crop/outlines/frame_exit.h"

#include <gtest/gtest.h>

using namespace korv;
using namespace korv::crop;

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kDesk = 70;
constexpr int kPaper = 220;

/// Paper on a desk, all but for `writing`, which is darker.
SearchPicture pictureOf(cv::Rect paper, int desk, cv::Rect writing = {})
{
    SearchPicture picture;
    for (cv::Mat &plane : picture.closed)
        plane = cv::Mat(kHeight, kWidth, CV_8UC1, cv::Scalar(128));
    picture.closed[0] = desk;
    picture.closed[0](paper) = kPaper;
    picture.closed[0](writing) = 120;
    picture.plainLuma = picture.closed[0].clone();
    return picture;
}

/// From 6 pixels inside the left border of the frame.
const Corners kAtBorder{{{6, 60}, {200, 60}, {200, 180}, {6, 180}}};

} // namespace

TEST(FrameExit, paperThatGoesOnToTheBorderLeavesTheFrame)
{
    const SearchPicture picture = pictureOf({0, 60, 200, 120}, kDesk);
    EXPECT_TRUE(leavesFrame(kAtBorder, picture));
    const Corners turned{{{6, 180}, {6, 60}, {200, 60}, {200, 180}}};
    EXPECT_TRUE(leavesFrame(turned, picture));
}

TEST(FrameExit, writingOnThePaperDoesNotHideIt)
{
    EXPECT_TRUE(leavesFrame(kAtBorder, pictureOf({0, 60, 200, 120}, kDesk, {0, 70, 3, 50})));
}

TEST(FrameExit, aStripOfDeskEndsTheSheet)
{
    EXPECT_FALSE(leavesFrame(kAtBorder, pictureOf({6, 60, 194, 120}, kDesk)));
}

TEST(FrameExit, aDeskOfThePapersColourSaysNothing)
{
    EXPECT_FALSE(leavesFrame(kAtBorder, pictureOf({6, 60, 194, 120}, kPaper - 5)));
}

TEST(FrameExit, sidesFarFromTheBorderAreNotLookedAt)
{
    const Corners inside{{{40, 60}, {200, 60}, {200, 180}, {40, 180}}};
    EXPECT_FALSE(leavesFrame(inside, pictureOf({0, 60, 200, 120}, kDesk)));
}

TEST(FrameExit, everyBorderCounts)
{
    const Corners right{{{120, 60}, {kWidth - 7, 60}, {kWidth - 7, 180}, {120, 180}}};
    EXPECT_TRUE(leavesFrame(right, pictureOf({120, 60, kWidth - 120, 120}, kDesk)));
    const Corners top{{{100, 6}, {220, 6}, {220, 150}, {100, 150}}};
    EXPECT_TRUE(leavesFrame(top, pictureOf({100, 0, 120, 150}, kDesk)));
    const Corners bottom{{{100, 90}, {220, 90}, {220, kHeight - 7}, {100, kHeight - 7}}};
    EXPECT_TRUE(leavesFrame(bottom, pictureOf({100, 90, 120, kHeight - 90}, kDesk)));
}
