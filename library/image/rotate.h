#pragma once

#include "library/image/image.h"
#include "library/image/turn.h"

namespace korv {

/// The turned picture; its resolution turns with it, bilevel stays. Throws std::bad_alloc, cv::Exception.
Image rotate(Image image, Rotation rotation);

/// The picture that a reader of the EXIF orientation (1..8) would show. Throws as rotate().
Image applyOrientation(Image image, int orientation);

} // namespace korv
