#pragma once

#include "library/image/image.h"

namespace korv {

/// A picture of another size: every pixel is the weighted mean of those it covers. Any format.
Image scaled(const Image &picture, int width, int height);

} // namespace korv
