#pragma once

#include <opencv2/core.hpp>

namespace korv {

/// A page of which the light is evened out and the strokes are sharpened, with what is known of its
/// paper. Levels are those of CV_8UC1 pictures.
struct EvenedPage
{
    /// What blank paper becomes; the levels above hold its noise.
    static constexpr int kWhite = 200;

    cv::Mat sharp; ///< the page, of the photograph's size
    cv::Mat light; ///< brightness of its paper in the photograph, see paperLight()
    double medianLight = 1; ///< of `light`
    double whiteLevel = kWhite; ///< where blank paper of median light really lies in `sharp`
    double noisePercent = 0; ///< deviation of the photograph's noise, of the median light
    double noise = 0; ///< deviation of blank paper of median light in `sharp`
    double dpi = 1; ///< as if the long side were that of an A4 sheet
};

/// Evens out, smooths as far as the noise asks for it, and sharpens against the blur of lens and
/// demosaicing. `gray` is used up. Throws std::bad_alloc, cv::Exception.
EvenedPage evenedPage(cv::Mat &gray);

} // namespace korv
