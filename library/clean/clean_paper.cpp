#include "library/clean/clean_paper.h"

#include "library/clean/gain_rows.h"
#include "library/clean/page_light.h"
#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace korv {

namespace {

using namespace clean;

// The white that paper gets: as bright as it is in the best light, so that print and pictures keep
// the brightness they have there. Cameras show paper at 175 to 225 on the whole; what is dimmer than
// that is brought up.
constexpr double kDimmestWhite = 190;
constexpr double kBrightestWhite = 250; ///< leaves room for paper's own texture and noise

/// A light farther from white than this, in the logarithm of a channel's share, is not the light's
/// colour but the paper's, of which the rest stays.
constexpr double kMaxCast = 0.15;

double brightness(const cv::Scalar &colour, int channels)
{
    return channels == 1 ? colour[0] : 0.299 * colour[0] + 0.587 * colour[1] + 0.114 * colour[2];
}

/// What the lit paper is to become.
cv::Scalar targetOf(const PageLight &light)
{
    const int channels = light.paper.channels();
    const double lit = std::max(1.0, brightness(light.lit, channels));
    const double white = std::clamp(lit, kDimmestWhite, kBrightestWhite);
    cv::Scalar target;
    for (int i = 0; i < channels; ++i) {
        const double cast = std::log(std::max(light.lit[i], 1.0) / lit);
        target[i] = white * std::exp(cast - std::clamp(cast, -kMaxCast, kMaxCast));
    }
    return target;
}

cv::Mat gainsOf(const PageLight &light)
{
    constexpr int kRowsAtOnce = 32; // what is worked on stays in the cache
    constexpr double kMost = GainRows::kMaxGain * GainRows::kGainOne;
    const cv::Scalar target = targetOf(light) * double{GainRows::kGainOne};
    const cv::Mat targets(std::min(kRowsAtOnce, light.paper.rows), light.paper.cols,
                          light.paper.type(), target);
    cv::Mat gains;
    cv::Mat result(light.paper.size(), CV_MAKETYPE(CV_16U, light.paper.channels()));
    for (int first = 0; first < result.rows; first += kRowsAtOnce) {
        const cv::Range rows(first, std::min(result.rows, first + kRowsAtOnce));
        cv::divide(targets.rowRange(0, rows.size()), light.paper.rowRange(rows), gains);
        cv::min(gains, kMost, gains);
        cv::Mat part = result.rowRange(rows);
        gains.convertTo(part, CV_16U);
    }
    return result;
}

} // namespace

void cleanPaper(Image &image, HelperThread &core)
{
    if (image.isBilevel())
        return;
    keepOpenCvInThisThread();
    const PageLight light = lightOn(matView(image), core);
    if (light.paper.empty())
        return;
    const cv::Mat gains = gainsOf(light);
    core.shareRange(0, image.height(), [&](int first, int end) {
        GainRows rows(gains, light.cell, image.width());
        for (int y = first; y < end; ++y)
            rows.apply(image.row(y), y);
    });
}

} // namespace korv
