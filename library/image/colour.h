#pragma once

#include "library/image/image.h"

namespace korv {

/// Gray8 by luma (ITU-R BT.601 weights, as in JPEG). Throws std::bad_alloc only.
Image toGray(Image image);

/// Rgb24 with three equal channels where there was one. Throws std::bad_alloc only.
Image toRgb(Image image);

} // namespace korv
