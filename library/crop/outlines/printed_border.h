#pragma once

#include "library/crop/lines/crop_geometry.h"
#include "library/crop/outlines/side_refiner.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <optional>

namespace korv::crop {

/// Of an outline that is a picture's on a print, the print's: around the picture is a blank border,
/// lighter than the picture and than the desk, about as wide on all sides. Nothing where there is no
/// such border. `step` is the distance at which colours are compared, in pixels. Precondition: convex
/// corners, in the frame.
std::optional<Corners> outlineOfBorder(const Image &image, const Corners &corners, double step,
                                       HelperThread &core);

/// Moves sides that lie on print, such as a bar code or a column, out to where the blank margin beyond
/// them ends. `reach` is how far the rim may be from there, in pixels, and `step` the same as above.
/// Precondition: convex corners, in the frame.
Refined withMargins(const Image &image, const Refined &outline, double step, double reach,
                    HelperThread &core);

} // namespace korv::crop
