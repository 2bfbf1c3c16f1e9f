#pragma once

#include "library/imaging/quad_features.h"
#include "library/imaging/side_refiner.h"

namespace korv::crop {

/// How much a quadrilateral looks like the outline of a sheet, compared with others of the same
/// picture. Higher is better; the absolute value means nothing.
double rankOf(const Features &features);

/// Logarithm of the odds that the best quadrilateral of a picture is a sheet's outline: 0 is even.
double trustIn(const Features &features, const Refined &refined);

} // namespace korv::crop
