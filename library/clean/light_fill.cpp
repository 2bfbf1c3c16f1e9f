#include "library/clean/light_fill.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr int kSmallestSide = 2; ///< of the picture at which halving ends
constexpr float kTrustGain = 4; ///< a quarter of a cell that is known makes it known
constexpr float kNothing = 1e-6F;

/// Multiplies every channel of a pixel by what `factor` makes of the pixel's weight. In one pass:
/// OpenCV would want a picture of the weights with as many channels, and one for each step.
template <typename Factor>
void scalePixels(cv::Mat &picture, const cv::Mat &weights, const Factor &factor)
{
    const int channels = picture.channels();
    for (int y = 0; y < picture.rows; ++y) {
        auto *value = picture.ptr<float>(y);
        const auto *weight = weights.ptr<float>(y);
        for (int x = 0; x < picture.cols; ++x) {
            const float share = factor(weight[x]);
            for (int channel = 0; channel < channels; ++channel)
                *value++ *= share;
        }
    }
}

cv::Mat average(const cv::Mat &weighted, const cv::Mat &weights)
{
    const double known = std::max<double>(cv::sum(weights)[0], kNothing);
    return cv::Mat(weighted.size(), weighted.type(), cv::sum(weighted) / known);
}

} // namespace

cv::Mat filledSurface(const cv::Mat &weighted, const cv::Mat &weights)
{
    if (std::min(weighted.cols, weighted.rows) <= kSmallestSide)
        return average(weighted, weights);
    const cv::Size half((weighted.cols + 1) / 2, (weighted.rows + 1) / 2);
    cv::Mat values;
    cv::Mat known;
    cv::resize(weighted, values, half, 0, 0, cv::INTER_AREA);
    cv::resize(weights, known, half, 0, 0, cv::INTER_AREA);
    scalePixels(values, known, [](float share) {
        return std::min(share * kTrustGain, 1.0F) / std::max(share, kNothing);
    });
    const cv::Mat trusted = cv::min(known * kTrustGain, 1.0F);
    cv::Mat surface;
    cv::resize(filledSurface(values, trusted), surface, weighted.size(), 0, 0, cv::INTER_LINEAR);
    scalePixels(surface, weights, [](float share) { return 1.0F - share; });
    surface += weighted;
    return surface;
}

} // namespace korv::clean
