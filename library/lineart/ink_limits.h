#pragma once

#include "library/lineart/evened_page.h"

#include <opencv2/core.hpp>

namespace korv {

/// The level of `page.sharp` below which a pixel is ink: a share of the darkest stroke nearby, and 0
/// where nothing stands out of the paper and its noise. In a picture that is smaller by a whole
/// number. Throws std::bad_alloc, cv::Exception.
cv::Mat inkLimits(const EvenedPage &page);

} // namespace korv
