#include "library/lineart/ink_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr double kNearbyReach = 0.03; ///< inches to either side that are nearby

// Shares of the darkest stroke nearby where a stroke's edge is. Pale strokes are rather kept whole.
constexpr double kStrokeShare = 0.45;
constexpr double kPaleStrokeShare = 0.4;
constexpr double kNotPale = 0.5; ///< share of the paper's brightness

// What is ink at all, as shares of the paper's brightness and in deviations of the noise.
constexpr double kMinPeak = 0.07;
constexpr double kMinPeakNoise = 4.5;
constexpr double kMinPeakChange = 0.4; ///< of what the light changes by nearby
constexpr double kMinDepth = 0.05;
constexpr double kMinDepthNoise = 2;

/// Nothing lighter than this is ink in any light.
constexpr double kLightestStroke = (1 - kMinPeak) * EvenedPage::kWhite;

/// Darkest level of every square.
cv::Mat darkestOfSquares(const cv::Mat &page)
{
    cv::Mat result((page.rows + kLimitCell - 1) / kLimitCell,
                   (page.cols + kLimitCell - 1) / kLimitCell, CV_8UC1);
    cv::Mat columns; // of a row of squares, with white beside the page
    for (int y = 0; y < result.rows; ++y) {
        const int first = y * kLimitCell;
        const int end = std::min(page.rows, first + kLimitCell);
        columns.create(1, result.cols * kLimitCell, CV_8UC1);
        columns.setTo(255);
        cv::Mat own = columns.colRange(0, page.cols);
        for (int row = first; row < end; ++row)
            cv::min(own, page.row(row), own);
        const auto *in = columns.ptr<std::uint8_t>();
        auto *out = result.ptr<std::uint8_t>(y);
        for (int x = 0; x < result.cols; ++x, in += kLimitCell)
            out[x] = *std::min_element(in, in + kLimitCell);
    }
    return result;
}

/// Darkest level around every place.
cv::Mat darkestNearby(const EvenedPage &page)
{
    cv::Mat darkest = darkestOfSquares(page.sharp);
    const int reach = std::max(3, static_cast<int>(2 * kNearbyReach * page.dpi / kLimitCell) | 1);
    cv::erode(darkest, darkest, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(reach, reach)));
    cv::blur(darkest, darkest, cv::Size(reach, reach));
    return darkest;
}

/// What blank paper looks like at a place.
struct PaperThere
{
    double white = 0; ///< its level
    double noise = 0; ///< its deviation
    double change = 0; ///< of its level nearby, by the light, which is known less exactly there

    /// How much darker than it ink is at least.
    double leastDepth() const
    {
        return std::max(kMinDepth * EvenedPage::kWhite, kMinDepthNoise * noise);
    }

    /// Whether what is darker by `peak` is ink.
    bool isLeftBy(double peak) const
    {
        return peak >= std::max(
                   {kMinPeak * EvenedPage::kWhite, kMinPeakNoise * noise, kMinPeakChange * change});
    }
};

/// `darkest` is the darkest level nearby.
double limitAt(double darkest, const PaperThere &paper)
{
    const double peak = paper.white - darkest;
    if (!paper.isLeftBy(peak))
        return 0;
    const double share = kPaleStrokeShare
        + (kStrokeShare - kPaleStrokeShare) * std::min(1.0, peak / (kNotPale * EvenedPage::kWhite));
    return paper.white - std::max(share * peak, paper.leastDepth());
}

/// How much the light changes around every place.
cv::Mat changesOf(const cv::Mat &light)
{
    cv::Mat result;
    cv::morphologyEx(light, result, cv::MORPH_GRADIENT,
                     cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3)));
    return result;
}

/// Calls `visit` with the place, the darkest level nearby and the paper of every square that need not be
/// blank.
template <typename Visit> void visitSquares(const EvenedPage &page, const Visit &visit)
{
    const cv::Mat darkest = darkestNearby(page);
    cv::Mat light;
    cv::Mat changes;
    cv::resize(page.light, light, darkest.size(), 0, 0, cv::INTER_LINEAR);
    cv::resize(changesOf(page.light), changes, darkest.size(), 0, 0, cv::INTER_LINEAR);
    const double whiteShift = EvenedPage::kWhite - page.whiteLevel;
    for (int y = 0; y < darkest.rows; ++y) {
        const auto *dark = darkest.ptr<std::uint8_t>(y);
        const auto *lit = light.ptr<std::uint8_t>(y);
        const auto *change = changes.ptr<std::uint8_t>(y);
        for (int x = 0; x < darkest.cols; ++x) {
            if (dark[x] > kLightestStroke)
                continue; // without arithmetic, as most of a page is blank
            // the same noise weighs more where there is less light
            const double weight = page.medianLight / lit[x];
            visit(cv::Point(x, y), static_cast<double>(dark[x]),
                  PaperThere{EvenedPage::kWhite - whiteShift * weight, page.noise * weight,
                             EvenedPage::kWhite * static_cast<double>(change[x]) / lit[x]});
        }
    }
}

std::uint8_t toLevel(double value)
{
    return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

/// A picture with one pixel for every square.
cv::Mat ofSquares(const EvenedPage &page)
{
    return cv::Mat((page.sharp.rows + kLimitCell - 1) / kLimitCell,
                   (page.sharp.cols + kLimitCell - 1) / kLimitCell, CV_8UC1, cv::Scalar(0));
}

} // namespace

cv::Mat inkLimits(const EvenedPage &page)
{
    cv::Mat limits = ofSquares(page);
    visitSquares(page, [&](cv::Point place, double darkest, const PaperThere &paper) {
        limits.at<std::uint8_t>(place) = toLevel(limitAt(darkest, paper));
    });
    return limits;
}

InkDepths inkDepths(const EvenedPage &page)
{
    InkDepths ink{ofSquares(page), ofSquares(page), ofSquares(page), ofSquares(page)};
    visitSquares(page, [&](cv::Point place, double darkest, const PaperThere &paper) {
        const double peak = paper.white - darkest;
        if (!paper.isLeftBy(peak))
            return;
        const double least = paper.leastDepth();
        ink.depths.at<std::uint8_t>(place) = toLevel(std::max(peak, least / kPaleStrokeShare));
        ink.whites.at<std::uint8_t>(place) = toLevel(std::round(paper.white));
        ink.leastDepths.at<std::uint8_t>(place) = toLevel(std::ceil(least));
        ink.noise.at<std::uint8_t>(place) = toLevel(std::round(kNoiseParts * paper.noise));
    });
    return ink;
}

} // namespace korv
