#pragma once

#include <opencv2/core.hpp>

namespace korv::clean {

/// Which pixels of a small picture of a page show blank paper, in whatever light. `page` (CV_8UC1 or
/// CV_8UC3) has no writing on it any more: strokes are closed. The result (CV_8UC1) is 1 on paper, 0
/// on photographs, coloured panels, bars and the desk, and along their outlines.
///
/// What is printed ends sharply, a shadow does not: paper is what can be reached from the brightest
/// large region without crossing a sharp edge or leaving the paper's colour. Further regions belong
/// to it when they are as bright as the light there says, or look like a shadow with a hard edge:
/// large, even, reaching the border of the picture, and not rectangular.
cv::Mat paperRegions(const cv::Mat &page);

} // namespace korv::clean
