#pragma once

#include "library/crop/lines/crop_geometry.h"
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

} // namespace korv::crop
