#include "library/clean/small_page.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>
#include <utility>

using namespace korv;

namespace {

cv::Mat noise(int width, int height, int type)
{
    cv::Mat result(height, width, type);
    cv::RNG random(static_cast<std::uint64_t>(width * 1000 + height));
    random.fill(result, cv::RNG::UNIFORM, 0, 256);
    return result;
}

/// Every second row, from the first one on, of every square of `cell` rows.
cv::Mat everySecondRow(const cv::Mat &picture)
{
    cv::Mat result;
    for (int y = 0; y < picture.rows; y += 2)
        result.push_back(picture.row(y));
    return result;
}

} // namespace

TEST(SmallPage, holdsTheMeansOfSquares)
{
    HelperThread core;
    for (const int type : {CV_8UC1, CV_8UC3}) {
        for (const auto &[width, cell] : {std::pair{90, 3}, {91, 3}, {84, 4}, {87, 4}, {230, 23}}) {
            const cv::Mat picture = noise(width, 5 * cell, type);
            const int columns = width / cell;
            const cv::Mat whole = picture.colRange(0, columns * cell);
            cv::Mat expected;
            cv::resize(cell % 2 == 0 ? everySecondRow(whole) : whole, expected,
                       cv::Size(columns, 5), 0, 0, cv::INTER_AREA);
            const cv::Mat small = clean::shrunk(picture, cell, core);
            ASSERT_EQ(small.size(), expected.size());
            EXPECT_EQ(cv::norm(small, expected, cv::NORM_INF), 0) << width << '/' << cell;
        }
    }
}

TEST(SmallPage, aStripHasTheMeansOfWhatThereIs)
{
    HelperThread core;
    const cv::Mat strip(2, 3000, CV_8UC3, cv::Scalar(10, 20, 30));
    const cv::Mat small = clean::shrunk(strip, clean::smallCell(strip.size()), core);
    ASSERT_EQ(small.size(), cv::Size(750, 1));
    EXPECT_EQ(cv::norm(small, cv::Mat(1, 750, CV_8UC3, cv::Scalar(10, 20, 30)), cv::NORM_INF), 0);
}
