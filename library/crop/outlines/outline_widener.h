#pragma once

#include "library/crop/outlines/side_refiner.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

namespace korv::crop {

/// Moves sides outwards where the paper goes on beyond them, up to `reach` pixels: a side of folded or
/// curled paper is no straight line, and what the best one leaves out would be lost. A side beyond
/// which there is no paper stays as it is. Precondition: convex corners, in the frame.
Corners widened(const Image &image, const Refined &outline, double reach, HelperThread &core);

} // namespace korv::crop
