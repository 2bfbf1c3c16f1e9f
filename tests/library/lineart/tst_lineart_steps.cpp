#include "library/lineart/area_means.h"
#include "library/lineart/despeckle.h"

#include "library/image/mat_view.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>
#include <utility>

using namespace korv;

namespace {

/// Levels without any order, the same ones in every run.
cv::Mat noise(int width, int height, int least, int most)
{
    cv::Mat result(height, width, CV_8UC1);
    cv::RNG random(static_cast<std::uint64_t>(width * 1000 + height));
    random.fill(result, cv::RNG::UNIFORM, least, most + 1);
    return result;
}

} // namespace

TEST(AreaMeans, areThoseThatOpenCvFinds)
{
    for (const auto &[width, height] : {std::pair{1, 1},
                                        {400, 1},
                                        {1, 300},
                                        {400, 300},
                                        {401, 300},
                                        {817, 613},
                                        {2592, 1944},
                                        {65500, 245}}) {
        const cv::Mat gray = noise(width, height, 0, 255);
        const double scale = std::min(1.0, 400.0 / std::max(width, height));
        const cv::Size size(std::max(1, cvRound(width * scale)),
                            std::max(1, cvRound(height * scale)));
        cv::Mat expected;
        cv::resize(gray, expected, size, 0, 0, cv::INTER_AREA);
        const cv::Mat means = areaMeans(gray, size);
        ASSERT_EQ(means.size(), size);
        EXPECT_LE(cv::norm(means, expected, cv::NORM_INF), 1) << width << 'x' << height;
        EXPECT_LE(cv::countNonZero(means != expected), size.area() / 1000)
            << width << 'x' << height;
    }
}

TEST(Despeckle, whitensThingsUpToTheLimitAndNoOthers)
{
    // of all widths that are read in other portions
    for (const auto &[width, share] : {std::pair{300, 10},
                                       {300, 25},
                                       {300, 40},
                                       {1, 25},
                                       {2, 25},
                                       {16, 25},
                                       {17, 25},
                                       {18, 25},
                                       {33, 25},
                                       {34, 25},
                                       {301, 25}}) {
        const cv::Mat grain = noise(width, 200 + share, 0, 99);
        Image image(grain.cols, grain.rows, PixelFormat::Gray8);
        cv::Mat bits = matView(image);
        bits = 255;
        bits.setTo(0, grain < share);
        cv::Mat labels;
        cv::Mat things;
        cv::Mat centres;
        const cv::Mat black = bits == 0;
        cv::connectedComponentsWithStats(black, labels, things, centres, 8, CV_32S);
        constexpr int kLargest = 6;
        cv::Mat expected = bits.clone();
        for (int y = 0; y < labels.rows; ++y) {
            for (int x = 0; x < labels.cols; ++x) {
                if (things.at<int>(labels.at<int>(y, x), cv::CC_STAT_AREA) <= kLargest)
                    expected.at<std::uint8_t>(y, x) = 255;
            }
        }
        ASSERT_GT(cv::countNonZero(expected != bits), 0);
        despeckle(image, kLargest);
        EXPECT_EQ(cv::countNonZero(expected != bits), 0) << width << ' ' << share;
    }
}

TEST(Despeckle, specksGrowWithTheAreaOfAFullStop)
{
    const auto largestIn = [](int width, int height) {
        return largestSpeck(Image::unset(width, height, PixelFormat::Gray8));
    };
    EXPECT_EQ(largestIn(100, 80), 1) << "a single pixel always goes";
    EXPECT_EQ(largestIn(1600, 1200), 2);
    EXPECT_EQ(largestIn(2400, 3200), 8) << "of the long side, whichever it is";
    EXPECT_EQ(largestIn(12000, 9000), 20);
}
