#pragma once

#include <opencv2/core.hpp>

namespace korv {

/// Separates ink from paper at twice the resolution of `page` (CV_8UC1): 0 where the enlarged page is
/// below the limit, 255 elsewhere. The page is enlarged by cubic convolution, the limits (inkLimits())
/// linearly, and neither is enlarged where the limits are 0, as they are on blank paper. `result`
/// (CV_8UC1) has twice the page's width and height. Throws std::bad_alloc, cv::Exception.
void separateFinely(const cv::Mat &page, const cv::Mat &limits, cv::Mat &result);

} // namespace korv
