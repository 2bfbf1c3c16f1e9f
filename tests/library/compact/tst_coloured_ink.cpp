#include "library/compact/coloured_ink.h"

#include "library/image/mat_view.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

using namespace korv;

namespace {

const cv::Scalar kPaper(220, 216, 205);
const cv::Scalar kBlack(35, 35, 38);
const cv::Scalar kRed(190, 50, 55);
const cv::Rect kArea(40, 40, 120, 120);

/// A page with bars of ink, blurred as by a lens, and its ink.
class ColouredInkTest : public testing::Test
{
protected:
    void draw(const cv::Rect &bar, const cv::Scalar &colour)
    {
        m_page(bar).setTo(colour);
        matView(m_ink.mask)(bar).setTo(0);
        m_ink.core(bar - cv::Point(-1, -1) - cv::Size(2, 2)).setTo(0);
    }
    /// `light` is that on the page, 1 for white.
    std::optional<compact::Ink> take(const cv::Scalar &light = {1, 1, 1})
    {
        cv::GaussianBlur(m_page, m_page, {5, 5}, 0.8);
        cv::multiply(m_page, light, m_page);
        HelperThread core;
        return compact::takeColoured(m_page, cv::Mat(50, 50, CV_8UC3, kPaper.mul(light)), kArea,
                                     m_ink, core);
    }
    static compact::Ink noInk()
    {
        compact::Ink ink;
        ink.mask = Image(200, 200, PixelFormat::Gray8);
        matView(ink.mask).setTo(255);
        ink.mask.setBilevel(true);
        ink.core = cv::Mat(200, 200, CV_8UC1, cv::Scalar(255));
        return ink;
    }
    static int inkIn(const Image &mask, const cv::Rect &part)
    {
        return part.area() - cv::countNonZero(cv::Mat(matView(mask))(part));
    }

    cv::Mat m_page{200, 200, CV_8UC3, kPaper};
    compact::Ink m_ink = noInk();
};

} // namespace

TEST_F(ColouredInkTest, leavesBlackInkWithItsEdges)
{
    constexpr int kWide = 8;
    const cv::Rect black(50, 60, 100, kWide);
    const cv::Rect red(50, 90, 100, kWide);
    draw(black, kBlack);
    draw(red, kRed);
    const auto coloured = take();
    ASSERT_TRUE(coloured);
    EXPECT_EQ(coloured->mask.width(), kArea.width);
    EXPECT_EQ(inkIn(m_ink.mask, black), black.area());
    EXPECT_EQ(inkIn(m_ink.mask, red), 0);
    EXPECT_EQ(inkIn(coloured->mask, black - kArea.tl()), 0);
    EXPECT_EQ(inkIn(coloured->mask, red - kArea.tl()), red.area());
    EXPECT_EQ(cv::countNonZero(m_ink.core(red)), red.area());
    EXPECT_LT(cv::countNonZero(coloured->core(red - kArea.tl())), red.area());
}

TEST_F(ColouredInkTest, seesColoursInTheLightOfALamp)
{
    const cv::Rect black(50, 60, 100, 8);
    const cv::Rect red(50, 90, 100, 8);
    draw(black, kBlack);
    draw(red, kRed);
    const auto coloured = take({1, 0.8, 0.5});
    ASSERT_TRUE(coloured);
    EXPECT_EQ(inkIn(m_ink.mask, black), black.area());
    EXPECT_EQ(inkIn(coloured->mask, red - kArea.tl()), red.area());
}

TEST_F(ColouredInkTest, losesNoInkWhereColoursMeet)
{
    const cv::Rect down(90, 50, 10, 100);
    const cv::Rect across(50, 95, 100, 10);
    draw(down, kBlack);
    draw(across, kRed);
    m_page(down & across).setTo(kBlack); // red over black is black
    const int before = inkIn(m_ink.mask, kArea);
    const auto coloured = take();
    ASSERT_TRUE(coloured);
    EXPECT_EQ(inkIn(m_ink.mask, kArea) + inkIn(coloured->mask, kArea - kArea.tl()), before);
    EXPECT_GT(inkIn(m_ink.mask, down), down.area() * 9 / 10);
    EXPECT_GT(inkIn(coloured->mask, across - kArea.tl()), across.area() * 8 / 10);
}

TEST_F(ColouredInkTest, givesStrokesTheirWidthBetweenBlackOnes)
{
    const cv::Rect black(50, 60, 100, 8);
    const cv::Rect red(50, 90, 100, 8);
    draw(black, kBlack);
    draw(red, kRed);
    // the page's mask has lost the upper rows of the stroke
    matView(m_ink.mask)(cv::Rect(50, 90, 100, 2)).setTo(255);
    const auto coloured = take();
    ASSERT_TRUE(coloured);
    constexpr int kCorners = 4; ///< that blur makes round
    EXPECT_GE(inkIn(coloured->mask, red - kArea.tl()), red.area() - kCorners);
    EXPECT_LE(inkIn(coloured->mask, cv::Rect(0, 0, kArea.width, kArea.height)), red.area());
}

TEST_F(ColouredInkTest, looksAtItsAreaOnly)
{
    const cv::Rect outside(50, 10, 100, 8);
    draw(outside, kRed);
    EXPECT_FALSE(take());
    EXPECT_EQ(inkIn(m_ink.mask, outside), outside.area());
}

TEST_F(ColouredInkTest, specksOfColourStayWhereTheyAre)
{
    const cv::Rect black(50, 60, 100, 8);
    draw(black, kBlack);
    m_page(cv::Rect(60, 100, 2, 2)).setTo(kRed);
    matView(m_ink.mask)(cv::Rect(60, 100, 2, 2)).setTo(0); // too small to have a middle
    EXPECT_FALSE(take());
    EXPECT_EQ(inkIn(m_ink.mask, kArea), black.area() + 4);
}

TEST_F(ColouredInkTest, inkOfOneColourNeedsNoMaskOfItsOwn)
{
    const cv::Rect red(50, 60, 100, 8);
    draw(red, kRed);
    EXPECT_FALSE(take());
    EXPECT_EQ(inkIn(m_ink.mask, kArea), red.area());
}
