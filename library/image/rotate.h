#pragma once

#include "library/image/image.h"

namespace korv {

/// Left and right are as the viewer sees it: Left90 is counter-clockwise.
enum class Rotation { None = 0, Left90 = 1, Right90 = 2, Half = 3 };

/// The turned picture; its resolution turns with it, bilevel stays. Throws std::bad_alloc only.
Image rotate(const Image &image, Rotation rotation);

/// The picture that a reader of the EXIF orientation (1..8) would show.
Image applyOrientation(Image image, int orientation);

} // namespace korv
