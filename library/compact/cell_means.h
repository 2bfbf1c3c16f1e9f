#pragma once

#include "library/threads/helper_thread.h"

#include <opencv2/core.hpp>

namespace korv::compact {

/// Means over the cells of a grid that covers a picture exactly. Where the picture's size is no
/// multiple of the grid's, cells differ by one pixel.
struct CellMeans
{
    cv::Mat
        weighted; ///< CV_32FC1 or CV_32FC3: the mean of the cell's chosen pixels times its weight
    cv::Mat weights; ///< CV_32FC1: 0 without a chosen pixel, 1 from a quarter of the cell on
};

/// Of the pixels of `picture` (CV_8UC1 or CV_8UC3) for which `chosen` (CV_8UC1) is 0. One half of the
/// work runs on `core`. Preconditions: equal sizes, no more cells than pixels in either direction.
CellMeans meansOf(const cv::Mat &picture, const cv::Mat &chosen, const cv::Size &grid,
                  HelperThread &core);

/// Variance of the levels in each cell of `gray` (CV_8UC1), as CV_32FC1; kUnknown for cells of which
/// `chosen` does not have every pixel. The same preconditions.
cv::Mat variancesOf(const cv::Mat &gray, const cv::Mat &chosen, const cv::Size &grid,
                    HelperThread &core);

inline constexpr float kUnknown = -1;

/// Cells in which some of the pixels of `picture` (CV_8UC3) for which `chosen` is 0 are coloured and
/// some are not, as where a seal lies over type: 255 in a CV_8UC1. The same preconditions.
cv::Mat mixedColours(const cv::Mat &picture, const cv::Mat &chosen, const cv::Size &grid,
                     HelperThread &core);

} // namespace korv::compact
