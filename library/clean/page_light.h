#pragma once

#include "library/threads/helper_thread.h"

#include <opencv2/core.hpp>

namespace korv::clean {

/// The light on a page.
struct PageLight
{
    /// Brightness of blank paper at every place, paper or not, in the channels of the picture
    /// (CV_32FC1 or CV_32FC3), each pixel for `cell` x `cell` of the picture's. Empty for a picture
    /// without anything like paper.
    cv::Mat paper;
    int cell = 1;
    cv::Scalar lit; ///< of the best lit paper
};

/// Estimates the light on the page in `picture` (CV_8UC1, or CV_8UC3 in the order R, G, B).
PageLight lightOn(const cv::Mat &picture, HelperThread &core);

} // namespace korv::clean
