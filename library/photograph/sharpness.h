#pragma once

#include "library/image/image.h"

namespace korv {

/// How well the writing on a photographed page stands apart from itself. Both numbers mean the same
/// for every page: neither light nor the colours of ink and paper change them, and the first not the
/// size of the type either.
struct Sharpness
{
    bool known = false; ///< there was writing enough to judge by
    /// Of the strokes: how much the ink's depth changes within the height of a letter, in mean depths
    /// of the ink there. 2 and more for crisp type; from about 1 on downwards letters flow together.
    double strokes = 0;
    double blur = 0; ///< of the sharpest edges of the writing, a standard deviation in pixels

    /// Whether type that the camera can resolve is too blurred to be read.
    bool isOutOfFocus() const;
};

/// Measures a page, Gray8 or Rgb24, at the full resolution of some squares that are rich in writing.
/// Throws std::bad_alloc, cv::Exception.
Sharpness sharpnessOf(const Image &page);

} // namespace korv
