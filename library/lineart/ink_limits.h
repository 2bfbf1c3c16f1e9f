#pragma once

#include "library/lineart/evened_page.h"

#include <opencv2/core.hpp>

namespace korv {

/// Side of the squares of pixels that have one limit.
inline constexpr int kLimitCell = 4;

/// The level of `page.sharp` below which a pixel is ink: a share of the darkest stroke nearby, and 0
/// where nothing stands out of the paper and its noise. In a picture of the squares' size, of which the
/// last ones may not be whole. Throws std::bad_alloc, cv::Exception.
cv::Mat inkLimits(const EvenedPage &page);

} // namespace korv
