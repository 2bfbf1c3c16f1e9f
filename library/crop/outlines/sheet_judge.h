#pragma once

#include "library/crop/outlines/quad_features.h"
#include "library/crop/outlines/side_refiner.h"
#include "library/crop/outlines/surroundings.h"

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

/// How far a candidate's rank is above that of the best one around it. Negative when that one looks
/// better.
double marginOverLarger(const Candidate &candidate, const std::vector<Candidate> &all);

/// What is known of a candidate in the end.
struct Evidence
{
    double lead = 0; ///< see marginOf()
    double leadOverLarger = 0; ///< see marginOverLarger()
    Surroundings surroundings;
    Refined refined;
    bool fromWriting = false; ///< found with the edges of the writing
};

/// Whether a page evidently goes on outside, so that the candidate is a part of it: there is writing
/// on light paper around, or the candidate differs too little from what is around. Hardly any sheet
/// lies like that.
bool isPartOfAPage(const Candidate &candidate, const Surroundings &surroundings);

/// Whether nothing is outside that could belong to the sheet: no writing, and no paper like its own.
bool isOnBareDesk(const Surroundings &surroundings);

/// Whether the candidate is not small, lighter than its desk on all sides, and nothing outside is as
/// light, nor written on next to it: the desk may have seams and things on it, but is not paper. Where
/// each side is one straight rim, the desk may also have marks along which the sheet was laid.
bool isOnDarkDesk(const Candidate &candidate, const Evidence &evidence);

/// Logarithm of the odds that the best candidate of a picture is a sheet's outline: 0 is even.
double confidenceOf(const Candidate &candidate, const Evidence &evidence);

} // namespace korv::crop
