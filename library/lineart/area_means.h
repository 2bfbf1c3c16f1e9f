#pragma once

#include <opencv2/core.hpp>

namespace korv {

/// A gray picture (CV_8UC1) in a smaller size: every pixel is the mean of the area that it covers, of
/// which pixels at the border count with the share that is inside. What cv::resize() does with
/// INTER_AREA, in a third of the time. No side of `size` is larger than the picture's, and none is
/// smaller than a 250th of it. Throws std::bad_alloc.
cv::Mat areaMeans(const cv::Mat &gray, const cv::Size &size);

} // namespace korv
