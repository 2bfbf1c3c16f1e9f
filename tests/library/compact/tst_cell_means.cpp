#include "library/compact/cell_means.h"

#include <cstdint>
#include <gtest/gtest.h>

using namespace korv;
using namespace korv::compact;

namespace {

/// 10 x 7 pixels, each of another level.
cv::Mat numbered()
{
    cv::Mat picture(7, 10, CV_8UC1);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x)
            picture.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(20 * y + x);
    }
    return picture;
}

} // namespace

TEST(CellMeans, cellsCoverAPictureThatTheyDoNotDivide)
{
    HelperThread core;
    const cv::Mat all = cv::Mat::zeros(7, 10, CV_8UC1);
    const CellMeans means = meansOf(numbered(), all, {3, 2}, core);
    ASSERT_EQ(means.weighted.size(), cv::Size(3, 2));
    // columns 0 to 2, 3 to 5 and 6 to 9; rows 0 to 2 and 3 to 6
    EXPECT_FLOAT_EQ(means.weighted.at<float>(0, 0), 20 * 1 + 1);
    EXPECT_FLOAT_EQ(means.weighted.at<float>(0, 2), 20 * 1 + 7.5F);
    EXPECT_FLOAT_EQ(means.weighted.at<float>(1, 1), 20 * 4.5F + 4);
    EXPECT_FLOAT_EQ(means.weights.at<float>(1, 2), 1);
}

TEST(CellMeans, onlyChosenPixelsCountAndAQuarterOfACellIsEnough)
{
    HelperThread core;
    cv::Mat colours(4, 8, CV_8UC3, cv::Scalar(10, 20, 30));
    cv::Mat others(4, 8, CV_8UC1, cv::Scalar(255));
    for (int x = 0; x < 4; ++x) {
        colours.at<cv::Vec3b>(2, x) = cv::Vec3b(100, 110, 120);
        others.at<std::uint8_t>(2, x) = 0; // a quarter of the left cell
    }
    others.at<std::uint8_t>(0, 4) = 0;
    others.at<std::uint8_t>(0, 5) = 0; // an eighth of the right one
    const CellMeans means = meansOf(colours, others, {2, 1}, core);
    EXPECT_EQ(means.weighted.at<cv::Vec3f>(0, 0), cv::Vec3f(100, 110, 120));
    EXPECT_FLOAT_EQ(means.weights.at<float>(0, 0), 1);
    EXPECT_EQ(means.weighted.at<cv::Vec3f>(0, 1), cv::Vec3f(5, 10, 15));
    EXPECT_FLOAT_EQ(means.weights.at<float>(0, 1), 0.5F);
}

TEST(CellMeans, varianceIsKnownOfWholeCellsOnly)
{
    HelperThread core;
    cv::Mat gray(4, 8, CV_8UC1, cv::Scalar(200));
    gray(cv::Rect(0, 0, 2, 4)).setTo(190);
    cv::Mat others = cv::Mat::zeros(4, 8, CV_8UC1);
    cv::Mat variances = variancesOf(gray, others, {2, 1}, core);
    EXPECT_FLOAT_EQ(variances.at<float>(0, 0), 25);
    EXPECT_FLOAT_EQ(variances.at<float>(0, 1), 0);
    others.at<std::uint8_t>(3, 7) = 255;
    variances = variancesOf(gray, others, {2, 1}, core);
    EXPECT_FLOAT_EQ(variances.at<float>(0, 0), 25);
    EXPECT_EQ(variances.at<float>(0, 1), kUnknown);
}
