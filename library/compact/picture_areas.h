#pragma once

#include "library/threads/helper_thread.h"

#include <optional>
#include <vector>

#include <opencv2/core.hpp>

namespace korv::compact {

/// Parts of a page that lose what can be seen when they become as coarse as paper and the colours of
/// ink do. All are in cells of a grid, none overlaps another.
struct PageAreas
{
    std::vector<cv::Rect> pictures; ///< photographs above all, pencil and other pale marks
    std::vector<cv::Rect> mixedInk; ///< ink of several colours in one place, as a seal over type
};

/// `page` is CV_8UC1 or CV_8UC3, `variances` are variancesOf() its paper, on whose grid the areas are;
/// `mixed` are the mixedColours() of its ink, on any grid, or empty. Nothing where so much of the page
/// is a picture that it had better stay one. One half of the work runs on `core`.
std::optional<PageAreas> pageAreas(const cv::Mat &page, const cv::Mat &variances,
                                   const cv::Mat &mixed, HelperThread &core);

} // namespace korv::compact
