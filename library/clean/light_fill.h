#pragma once

#include <opencv2/core.hpp>

namespace korv::clean {

/// A smooth surface through known values. `weighted` holds values times their weights (CV_32FC1 or
/// CV_32FC3), `weights` (CV_32FC1) is 1 where a value is known, 0 where it is not. Known values stay;
/// the others are interpolated from all around them, over any distance. Without a known value the
/// result is 0.
cv::Mat filledSurface(const cv::Mat &weighted, const cv::Mat &weights);

} // namespace korv::clean
