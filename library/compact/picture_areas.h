#pragma once

#include "library/threads/helper_thread.h"

#include <optional>
#include <vector>

#include <opencv2/core.hpp>

namespace korv::compact {

/// Parts of a page that lose what can be seen when they become as coarse as paper does: photographs
/// above all, pencil and other pale marks, and ink of several colours in one place. `page` is CV_8UC1
/// or CV_8UC3, `variances` are variancesOf() its paper, `mixed` the mixedColours() of its ink, on any
/// grid, or empty. The areas are in cells of the variances' grid, none overlapping another.
/// Nothing where so much of the page is a picture that it had better stay one. One half of the work
/// runs on `core`.
std::optional<std::vector<cv::Rect>> pictureAreas(const cv::Mat &page, const cv::Mat &variances,
                                                  const cv::Mat &mixed, HelperThread &core);

} // namespace korv::compact
