#include "library/lineart/ink_limits.h"

#include <algorithm>
#include <cstdint>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr int kWhite = EvenedPage::kWhite;

constexpr int kReduction = 4; ///< limits are made in a picture reduced by this
constexpr double kStrokeReach = 0.03; ///< inches to either side that are nearby

// Shares of the darkest stroke nearby where a stroke's edge is. Pale strokes are rather kept whole.
constexpr double kStrokeShare = 0.45;
constexpr double kPaleStrokeShare = 0.4;
constexpr double kNotPale = 0.5; ///< share of the paper's brightness

// What is ink at all, as shares of the paper's brightness and in deviations of the noise.
constexpr double kMinPeak = 0.07;
constexpr double kMinPeakNoise = 4.5;
constexpr double kMinDepth = 0.05;
constexpr double kMinDepthNoise = 2;

/// Darkest level around every place, in the reduced picture.
cv::Mat darkestNearby(const EvenedPage &page)
{
    cv::Mat reduced((page.sharp.rows + kReduction - 1) / kReduction,
                    (page.sharp.cols + kReduction - 1) / kReduction, CV_8UC1);
    for (int y = 0; y < reduced.rows; ++y) {
        auto *out = reduced.ptr<std::uint8_t>(y);
        std::fill_n(out, reduced.cols, std::uint8_t{255});
        const int end = std::min(page.sharp.rows, (y + 1) * kReduction);
        for (int row = y * kReduction; row < end; ++row) {
            const auto *in = page.sharp.ptr<std::uint8_t>(row);
            for (int x = 0; x < page.sharp.cols; ++x) {
                std::uint8_t &darkest = out[x / kReduction];
                darkest = std::min(darkest, in[x]);
            }
        }
    }
    const int reach = std::max(3, static_cast<int>(2 * kStrokeReach * page.dpi / kReduction) | 1);
    cv::erode(reduced, reduced, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(reach, reach)));
    cv::blur(reduced, reduced, cv::Size(reach, reach));
    return reduced;
}

/// `darkest` is the darkest level nearby; `noise` and `white` are those of the paper there.
double limitAt(double darkest, double noise, double white)
{
    const double peak = white - darkest;
    if (peak < std::max(kMinPeak * kWhite, kMinPeakNoise * noise))
        return 0;
    const double share = kPaleStrokeShare
        + (kStrokeShare - kPaleStrokeShare) * std::min(1.0, peak / (kNotPale * kWhite));
    return white - std::max({share * peak, kMinDepth * kWhite, kMinDepthNoise * noise});
}

} // namespace

cv::Mat inkLimits(const EvenedPage &page)
{
    cv::Mat limits = darkestNearby(page);
    cv::Mat light;
    cv::resize(page.light, light, limits.size(), 0, 0, cv::INTER_LINEAR);
    const double whiteShift = kWhite - page.whiteLevel;
    for (int y = 0; y < limits.rows; ++y) {
        auto *limit = limits.ptr<std::uint8_t>(y);
        const auto *lit = light.ptr<std::uint8_t>(y);
        for (int x = 0; x < limits.cols; ++x) {
            // the same noise weighs more where there is less light
            const double weight = page.medianLight / lit[x];
            const double level =
                limitAt(limit[x], page.noise * weight, kWhite - whiteShift * weight);
            limit[x] = static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0));
        }
    }
    return limits;
}

} // namespace korv
