#pragma once

#include "library/image/image.h"

namespace korv {

/// A wooden desk under a lamp, nothing on it. Rgb24.
Image drawDesk(int width, int height);

/// Where a sheet lies on the desk.
struct SheetPlace
{
    double centreX = 0;
    double centreY = 0;
    double degrees = 0; ///< clockwise
};

/// Lays an Rgb24 sheet on the desk, pixel for pixel but turned, with a soft shadow. What reaches
/// over the edge is cut off.
void laySheet(Image &desk, const Image &sheet, const SheetPlace &place);

/// Puts a picture into the middle of the desk without turning it.
void layFlat(Image &desk, const Image &picture);

} // namespace korv
