#pragma once

#include "library/image/image.h"

namespace korv {

/// Pixels of the largest thing that cannot be print: half of a full stop's area in 10 point type, on
/// a sheet that fills the picture.
int largestSpeck(const Image &image);

/// Whitens black things of at most `largest` pixels, counting pixels that touch at corners as one.
/// Precondition: bilevel.
void despeckle(Image &image, int largest);

} // namespace korv
