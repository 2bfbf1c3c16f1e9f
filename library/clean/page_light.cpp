#include "library/clean/page_light.h"

#include "library/base/median.h"
#include "library/clean/light_fill.h"
#include "library/clean/paper_regions.h"
#include "library/clean/small_page.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr int kSoftening = 3;

constexpr double kLitShare = 0.03; ///< of the paper; the rest of it is darker than what is "lit"
constexpr float kBlank = 0.85F; ///< of the light: darker pixels of a page are written on

/// Half as large, or as large where that is too small; a last odd row or column takes no part.
cv::Mat halved(const cv::Mat &picture)
{
    const cv::Size half(picture.cols / 2, picture.rows / 2);
    if (half.empty())
        return picture.clone();
    cv::Mat result;
    cv::resize(picture(cv::Rect(0, 0, 2 * half.width, 2 * half.height)), result, half, 0, 0,
               cv::INTER_AREA);
    return result;
}

constexpr int kRowsAtOnce = 32; ///< what is worked on stays in the cache

/// Copies pixels of `from` (8 bits) to `to` (floats).
void copyWhere(const cv::Mat &mask, const cv::Mat &from, cv::Mat &to)
{
    cv::Mat values;
    for (int first = 0; first < from.rows; first += kRowsAtOnce) {
        const cv::Range rows(first, std::min(from.rows, first + kRowsAtOnce));
        from.rowRange(rows).convertTo(values, CV_32F);
        values.copyTo(to.rowRange(rows), mask.rowRange(rows));
    }
}

/// The light on paper where it is paper, and interpolated everywhere else, more coarsely.
cv::Mat lightThrough(const cv::Mat &closed, const cv::Mat &paper)
{
    cv::Mat share;
    paper.convertTo(share, CV_32F);
    share = halved(share);
    // squares of four pixels half of which are paper are paper
    const cv::Mat weights = cv::min(share * 2.0F, 1.0F);
    cv::Mat gain = weights / cv::max(share, 0.01F);
    if (closed.channels() == 3)
        cv::cvtColor(gain, gain, cv::COLOR_GRAY2BGR);
    cv::Mat masked = cv::Mat::zeros(closed.size(), closed.type());
    closed.copyTo(masked, paper);
    cv::Mat values;
    halved(masked).convertTo(values, CV_32F);
    const cv::Mat coarse = filledSurface(values.mul(gain), weights);
    cv::Mat light;
    cv::resize(coarse, light, closed.size(), 0, 0, cv::INTER_LINEAR);
    copyWhere(paper, closed, light);
    return light;
}

constexpr int kSampling = 3; ///< every third pixel of every third row will do for statistics

cv::Mat sampled(const cv::Mat &picture)
{
    cv::Mat result;
    cv::resize(picture, result,
               cv::Size((picture.cols + kSampling - 1) / kSampling,
                        (picture.rows + kSampling - 1) / kSampling),
               0, 0, cv::INTER_NEAREST);
    return result;
}

/// Closing follows the brightest of the noise: what brings the light down to what blank paper has in
/// the middle.
cv::Scalar excessOf(const cv::Mat &light, const cv::Mat &page, const cv::Mat &paper)
{
    const int channels = light.channels();
    cv::Scalar factor = cv::Scalar::all(1);
    for (int channel = 0; channel < channels; ++channel) {
        std::vector<float> shares;
        shares.reserve(page.total());
        for (int y = 0; y < page.rows; ++y) {
            const auto *level = page.ptr<std::uint8_t>(y);
            const auto *bright = light.ptr<float>(y);
            const auto *isPaper = paper.ptr<std::uint8_t>(y);
            for (int x = 0; x < page.cols; ++x) {
                const int at = x * channels + channel;
                const float share = static_cast<float>(level[at]) / bright[at];
                if (isPaper[x] != 0 && share > kBlank)
                    shares.push_back(share);
            }
        }
        if (!shares.empty())
            factor[channel] = medianOf(shares);
    }
    return factor;
}

/// The mean colour of the brightest paper but for `kLitShare` of it.
cv::Scalar litPaper(const cv::Mat &light, const cv::Mat &paper)
{
    cv::Mat gray = light;
    if (light.channels() == 3)
        cv::cvtColor(light, gray, cv::COLOR_RGB2GRAY);
    std::vector<float> levels;
    levels.reserve(gray.total());
    for (int y = 0; y < gray.rows; ++y) {
        for (int x = 0; x < gray.cols; ++x) {
            if (paper.at<std::uint8_t>(y, x) != 0)
                levels.push_back(gray.at<float>(y, x));
        }
    }
    if (levels.empty())
        return cv::mean(light);
    const auto rank =
        static_cast<std::ptrdiff_t>((1 - kLitShare) * static_cast<double>(levels.size() - 1));
    std::nth_element(levels.begin(), levels.begin() + rank, levels.end());
    const float level = levels[static_cast<std::size_t>(rank)];
    const cv::Mat brightest = (gray >= level) & (paper != 0);
    const cv::Scalar colour = cv::mean(light, brightest);
    const double mean = cv::mean(gray, brightest)[0];
    return colour * (level / std::max(mean, 1.0));
}

} // namespace

PageLight lightOn(const cv::Mat &picture, HelperThread &core)
{
    PageLight result;
    result.cell = smallCell(picture.size());
    const cv::Mat small = shrunk(picture, result.cell, core);
    const cv::Mat closed = withoutStrokes(small, core);
    const cv::Mat paper = paperRegions(closed);
    if (cv::countNonZero(paper) == 0)
        return result;
    cv::Mat light = lightThrough(closed, paper);
    cv::blur(light, light, cv::Size(kSoftening, kSoftening));
    cv::max(light, 1.0F, light);
    cv::Mat lightSample = sampled(light);
    const cv::Mat paperSample = sampled(paper);
    const cv::Scalar factor = excessOf(lightSample, sampled(small), paperSample);
    cv::multiply(light, factor, light);
    cv::multiply(lightSample, factor, lightSample);
    result.lit = litPaper(lightSample, paperSample);
    result.paper = light;
    return result;
}

} // namespace korv::clean
