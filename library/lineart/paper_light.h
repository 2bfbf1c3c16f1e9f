#pragma once

#include <opencv2/core.hpp>

namespace korv {

/// Brightness of the blank paper at every place of a gray page (CV_8UC1): a picture whose long side
/// has at most 400 pixels, all at least 1. Strokes and letters are gone from it; shadows, marker and
/// pale panels are in it, as they are what ink is to be compared with there.
cv::Mat paperLight(const cv::Mat &gray);

/// Standard deviation of the fine noise in a gray picture, in levels, by the second differences in
/// both directions (J. Immerkær: Fast noise variance estimation, 1996), from their median, so that
/// print does not count.
double noiseOf(const cv::Mat &gray);

} // namespace korv
