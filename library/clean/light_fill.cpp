#include "library/clean/light_fill.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr int kSmallestSide = 2; ///< of the picture at which halving ends
constexpr float kTrustGain = 4; ///< a quarter of a cell that is known makes it known
constexpr float kNothing = 1e-6F;

/// A picture of as many channels as the other one.
cv::Mat spread(const cv::Mat &weights, int channels)
{
    if (channels == 1)
        return weights;
    cv::Mat result;
    cv::cvtColor(weights, result, cv::COLOR_GRAY2BGR);
    return result;
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
    const cv::Mat trusted = cv::min(known * kTrustGain, 1.0F);
    const cv::Mat gain = trusted / cv::max(known, kNothing);
    values = values.mul(spread(gain, values.channels()));
    const cv::Mat coarse = filledSurface(values, trusted);
    cv::Mat surface;
    cv::resize(coarse, surface, weighted.size(), 0, 0, cv::INTER_LINEAR);
    return weighted + surface.mul(spread(1.0F - weights, surface.channels()));
}

} // namespace korv::clean
