#include "library/lineart/area_means.h"
#include "library/lineart/despeckle.h"
#include "library/lineart/fine_separation.h"
#include "library/lineart/ink_limits.h"

#include "library/image/mat_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
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

/// Cubic convolution at a place between the samples, where samples before the first and after the last
/// one repeat them.
template <typename At> double cubicAt(double place, int count, const At &at)
{
    constexpr double kA = -0.75;
    const int first = static_cast<int>(std::floor(place)) - 1;
    double sum = 0;
    for (int i = first; i < first + 4; ++i) {
        const double off = std::abs(place - i);
        const double weight = off < 1 ? ((kA + 2) * off - (kA + 3)) * off * off + 1
                                      : ((kA * off - 5 * kA) * off + 8 * kA) * off - 4 * kA;
        sum += weight * at(std::clamp(i, 0, count - 1));
    }
    return sum;
}

/// The level at a pixel of a page that is enlarged to twice its size.
double enlargedAt(const cv::Mat &page, int x, int y)
{
    const double level = cubicAt((x + 0.5) / 2 - 0.5, page.cols, [&](int column) {
        return cubicAt((y + 0.5) / 2 - 0.5, page.rows,
                       [&](int row) { return page.at<std::uint8_t>(row, column); });
    });
    return std::clamp(level, 0.0, 255.0);
}

/// The limit at a pixel of the enlarged page, between those of the four nearest squares.
double limitAt(const cv::Mat &limits, int x, int y)
{
    const auto mixed = [](double place, int count, const auto &at) {
        const auto first = static_cast<int>(std::floor(place));
        const double share = place - first;
        return (1 - share) * at(std::clamp(first, 0, count - 1))
            + share * at(std::clamp(first + 1, 0, count - 1));
    };
    constexpr double kCell = 2 * kLimitCell;
    return mixed((y + 0.5) / kCell - 0.5, limits.rows, [&](int row) {
        return mixed((x + 0.5) / kCell - 0.5, limits.cols, [&](int column) {
            return static_cast<double>(limits.at<std::uint8_t>(row, column));
        });
    });
}

cv::Mat limitsFor(const cv::Mat &page)
{
    cv::Mat limits = noise((page.cols + kLimitCell - 1) / kLimitCell,
                           (page.rows + kLimitCell - 1) / kLimitCell, 60, 180);
    // a stretch of blank paper, from where nothing needs to be enlarged
    limits(cv::Rect(limits.cols / 3, 0, limits.cols / 3, limits.rows)).setTo(0);
    return limits;
}

} // namespace

TEST(FineSeparation, comparesTheEnlargedPageWithTheEnlargedLimits)
{
    for (const auto &[width, height] :
         {std::pair{1, 1}, {1, 40}, {40, 1}, {5, 7}, {64, 64}, {203, 61}, {130, 42}, {99, 47}}) {
        const cv::Mat page = noise(width, height, 0, 255);
        const cv::Mat limits = limitsFor(page);
        cv::Mat result(2 * height, 2 * width, CV_8UC1, cv::Scalar(77));
        separateFinely(page, limits, result);
        int wrong = 0;
        for (int y = 0; y < result.rows; ++y) {
            for (int x = 0; x < result.cols; ++x) {
                const double above = enlargedAt(page, x, y) - limitAt(limits, x, y);
                const std::uint8_t expected = above >= 0 ? 255 : 0;
                ASSERT_TRUE(result.at<std::uint8_t>(y, x) % 255 == 0);
                // both are rounded to whole levels
                wrong += result.at<std::uint8_t>(y, x) != expected && std::abs(above) > 1 ? 1 : 0;
            }
        }
        EXPECT_EQ(wrong, 0) << width << 'x' << height;
    }
}

TEST(FineSeparation, blankPaperStaysWhiteWhateverItsLevels)
{
    const cv::Mat page = noise(90, 50, 0, 255);
    const cv::Mat limits(13, 23, CV_8UC1, cv::Scalar(0));
    cv::Mat result(100, 180, CV_8UC1, cv::Scalar(0));
    separateFinely(page, limits, result);
    EXPECT_EQ(cv::countNonZero(result), 180 * 100);
}

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
