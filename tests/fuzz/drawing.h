#pragma once

#include "library/crop/crop.h"
#include "tests/fuzz/input.h"

namespace fuzz {

/// A picture of 1 to 220 pixels a side: a ground, then discs, quadrilaterals, stripes and noise as
/// long as there is input.
korv::Image drawnImage(Input &input);

/// Corners in the picture, clockwise and without a dent, at least 2 pixels apart.
korv::Quadrilateral convexQuadrilateral(Input &input, const korv::Image &image);

} // namespace fuzz
