#pragma once

#include "library/image/image.h"

namespace korv {

/// Whitens black things of at most `largest` pixels, counting pixels that touch at corners as one.
/// Precondition: bilevel.
void despeckle(Image &image, int largest);

} // namespace korv
