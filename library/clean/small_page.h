#pragma once

#include "library/threads/helper_thread.h"

#include <opencv2/core.hpp>

namespace korv::clean {

/// Side of the squares of pixels that become one in a small picture of a page, whose own long side has
/// at most 820.
int smallCell(const cv::Size &picture);

/// Means of squares of pixels; a last row or column of squares that are not whole takes part.
cv::Mat shrunk(const cv::Mat &picture, int cell, HelperThread &core);

/// A small picture of a page with its strokes closed.
cv::Mat withoutStrokes(const cv::Mat &small, HelperThread &core);

} // namespace korv::clean
