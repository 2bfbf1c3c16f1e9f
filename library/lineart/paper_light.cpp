#include "library/lineart/paper_light.h"

#include "library/lineart/area_means.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr int kLongSide = 400; ///< long side of the picture in which paper is estimated

// in pixels of that picture, 0.74 mm each on an A4 sheet
constexpr int kStrokeReach = 5; ///< covers strokes of type
constexpr int kPatchReach = 9; ///< covers headlines and bars
constexpr int kSoftening = 3;

/// A patch that is darker than this share of the paper around it is ink, not tinted paper.
constexpr double kTint = 0.6;

constexpr double kMedianOfNormal = 0.6745; ///< of its absolute value, in standard deviations
constexpr double kMaskNorm = 6; ///< root of the sum of the squares in Immerkær's mask
constexpr std::size_t kMaxDifference = 8 * 255;

cv::Mat closed(const cv::Mat &picture, int reach)
{
    cv::Mat result;
    cv::morphologyEx(picture, result, cv::MORPH_CLOSE,
                     cv::getStructuringElement(cv::MORPH_RECT, cv::Size(reach, reach)));
    return result;
}

} // namespace

cv::Mat paperLight(const cv::Mat &gray)
{
    const double scale = std::min(1.0, double{kLongSide} / std::max(gray.cols, gray.rows));
    const cv::Mat small = areaMeans(
        gray,
        cv::Size(std::max(1, cvRound(gray.cols * scale)), std::max(1, cvRound(gray.rows * scale))));
    cv::Mat light = closed(small, kStrokeReach);
    const cv::Mat around = closed(small, kPatchReach);
    around.copyTo(light, light < kTint * around);
    cv::blur(light, light, cv::Size(kSoftening, kSoftening));
    cv::max(light, 1, light);
    return light;
}

double noiseOf(const cv::Mat &gray)
{
    constexpr int kRowStep = 5; // enough rows, a fifth of the time
    std::array<std::int64_t, kMaxDifference + 1> counts{};
    std::int64_t total = 0;
    for (int y = 1; y + 1 < gray.rows; y += kRowStep) {
        const auto *above = gray.ptr<std::uint8_t>(y - 1);
        const auto *here = gray.ptr<std::uint8_t>(y);
        const auto *below = gray.ptr<std::uint8_t>(y + 1);
        for (int x = 1; x + 1 < gray.cols; ++x) {
            const int corners = above[x - 1] + above[x + 1] + below[x - 1] + below[x + 1];
            const int sides = above[x] + below[x] + here[x - 1] + here[x + 1];
            const int difference = std::abs(corners - 2 * sides + 4 * here[x]);
            ++counts[static_cast<std::size_t>(difference)];
            ++total;
        }
    }
    if (total == 0)
        return 0;
    std::int64_t below = 0;
    std::size_t level = 0;
    while (2 * (below + counts[level]) < total)
        below += counts[level++];
    // levels are whole numbers: the median lies somewhere within the one reached
    const double within = (0.5 * static_cast<double>(total) - static_cast<double>(below))
        / static_cast<double>(counts[level]);
    const double median = std::max(0.0, static_cast<double>(level) + within - 0.5);
    return median / kMedianOfNormal / kMaskNorm;
}

} // namespace korv
