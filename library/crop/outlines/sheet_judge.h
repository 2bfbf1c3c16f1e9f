#pragma once

#include "library/crop/outlines/quad_features.h"
#include "library/crop/outlines/side_refiner.h"

#include <vector>

namespace korv::crop {

/// A quadrilateral that may be the sheet's outline.
struct Candidate
{
    Corners corners; ///< in the search picture
    Features features;
    double rank = 0;
};

/// How much a quadrilateral looks like the outline of a sheet, compared with others of the same
/// picture. Higher is better; the absolute value means nothing.
double rankOf(const Features &features);

/// How far a candidate's rank is above that of the best other one that is not nearly the same.
double marginOf(const Candidate &candidate, const std::vector<Candidate> &all);

/// What is known of a candidate in the end.
struct Evidence
{
    double lead = 0; ///< see marginOf()
    Refined refined;
    bool fromWriting = false; ///< found with the edges of the writing
};

/// Logarithm of the odds that the best candidate of a picture is a sheet's outline: 0 is even.
double confidenceOf(const Candidate &candidate, const Evidence &evidence);

} // namespace korv::crop
