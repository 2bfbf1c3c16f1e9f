#include "library/lineart/evened_page.h"

#include "library/lineart/level_counts.h"
#include "library/lineart/paper_light.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

constexpr double kLongSideInches = 297 / 25.4;
constexpr int kWhite = EvenedPage::kWhite;

// Smoothing, in inches, grows with the noise in relation to the ink. In pixels it has its limits.
constexpr double kSmoothing = 0.0025;
constexpr double kSmoothingByNoise = 0.2;
constexpr double kMinSmoothing = 0.3;
constexpr double kMaxSmoothing = 1.6;

constexpr double kSharpening = 1.0; ///< share of what a stroke stands out of its surroundings
constexpr double kSharpeningReach = 0.011; ///< inches, half a thin stroke
constexpr double kNoSharpeningFrom = 9; ///< percent of noise

// What counts as ink in the estimate of its depth, as a share of the paper's brightness and in
// deviations of the noise.
constexpr double kMinInk = 0.07;
constexpr double kMinInkNoise = 3.5;

LevelCounts levelsOf(const cv::Mat &picture)
{
    return countLevels(picture.rows, picture.cols,
                       [&](int y, int x) { return picture.at<std::uint8_t>(y, x); });
}

void evenOut(cv::Mat &gray, const cv::Mat &light)
{
    cv::Mat paper;
    cv::resize(light, paper, gray.size(), 0, 0, cv::INTER_LINEAR);
    cv::divide(gray, paper, gray, kWhite);
}

/// How much darker than paper the print is, in percent of the paper's brightness.
double inkPercent(const cv::Mat &even, double noisePercent)
{
    const LevelCounts levels = levelsOf(even);
    const double depth = std::max(kMinInk, kMinInkNoise * noisePercent / 100);
    const auto lightest = static_cast<std::size_t>(kWhite * std::max(0.0, 1 - depth));
    // a blank page counts as one of the palest ink
    double sum = depth;
    double count = 1;
    for (std::size_t level = 0; level < lightest; ++level) {
        sum += static_cast<double>(levels[level]) * (1 - static_cast<double>(level) / kWhite);
        count += static_cast<double>(levels[level]);
    }
    return 100 * sum / count;
}

/// Deviation of what the smoothed picture differs from its surroundings by.
double deviationOf(const cv::Mat &smooth, const cv::Mat &around)
{
    // print is a minor part of every page, so that the lesser half of the differences is noise
    constexpr double kShare = 0.3;
    constexpr double kDeviationsAtShare = 0.3853;
    const LevelCounts differences = countLevels(smooth.rows, smooth.cols, [&](int y, int x) {
        return std::abs(around.at<std::uint8_t>(y, x) - smooth.at<std::uint8_t>(y, x));
    });
    // a difference of 0 stands for everything up to a half to either side
    return std::max(0.0, quantile(differences, kShare)) / kDeviationsAtShare;
}

/// Deviation of what smoothing leaves of noise of one level that no two pixels share.
double noiseLeftBy(double smoothing)
{
    const double areaInPixels = 4 * CV_PI * smoothing * smoothing;
    return std::min(1.0, 1 / std::sqrt(areaInPixels));
}

/// As soft as means of squares of `side` pixels, twice one after the other, would make it, but the same in
/// all directions.
cv::Mat softened(const cv::Mat &gray, int side)
{
    const int taps = 2 * side - 1;
    const double deviation = std::sqrt((side * side - 1) / 6.0);
    cv::Mat result;
    cv::GaussianBlur(gray, result, cv::Size(taps, taps), deviation, deviation);
    return result;
}

/// `gray` is evened already.
void smoothAndSharpen(const cv::Mat &gray, EvenedPage &page)
{
    const double relativeNoise = page.noisePercent / inkPercent(gray, page.noisePercent);
    const double smoothing =
        std::clamp((kSmoothing + kSmoothingByNoise * relativeNoise * relativeNoise) * page.dpi,
                   kMinSmoothing, kMaxSmoothing);
    cv::GaussianBlur(gray, page.sharp, cv::Size(), smoothing);
    const int reach =
        static_cast<int>(2 * std::max(2 * smoothing, kSharpeningReach * page.dpi)) | 1;
    const cv::Mat around = softened(gray, reach);
    const double sharpening =
        kSharpening * std::max(0.0, 1 - page.noisePercent / kNoSharpeningFrom);
    // Differences are whole levels, so that fine noise is lost among them. It still shows in shadows,
    // where the levels of the photograph are farther apart.
    const double fineNoise = page.noisePercent / 100 * kWhite * noiseLeftBy(smoothing);
    page.noise = std::max(deviationOf(page.sharp, around), fineNoise) * (1 + sharpening);
    if (sharpening > 0)
        cv::addWeighted(page.sharp, 1 + sharpening, around, -sharpening, 0, page.sharp);
}

} // namespace

EvenedPage evenedPage(cv::Mat &gray)
{
    EvenedPage page;
    page.dpi = std::max(gray.cols, gray.rows) / kLongSideInches;
    page.light = paperLight(gray);
    page.medianLight = std::max(1.0, quantile(levelsOf(page.light), 0.5));
    page.noisePercent = 100 * noiseOf(gray) / page.medianLight;
    evenOut(gray, page.light);
    smoothAndSharpen(gray, page);
    page.whiteLevel =
        std::clamp(quantile(levelsOf(page.sharp), 0.5), 0.85 * kWhite, double{kWhite});
    return page;
}

} // namespace korv
