#pragma once

#include "library/image/image.h"

namespace korv {

/// Gray8 by luma (ITU-R BT.601 weights, as in JPEG). Throws std::bad_alloc, cv::Exception.
Image toGray(Image image);

} // namespace korv
