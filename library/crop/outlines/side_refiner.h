#pragma once

#include "library/crop/lines/crop_geometry.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

namespace korv::crop {

/// Corners moved onto the rim as the full picture shows it.
struct Refined
{
    Corners corners; ///< in the frame
    /// Of each side, from every corner to the next: share of places whose rim lies on one straight line.
    std::array<double, 4> agreements{};

    double leastAgreement() const;
    double meanAgreement() const;
};

/// The agreement from which on a side is taken for straight.
inline constexpr double kStraight = 0.85;

/// Looks for each side's rim along its normals, up to `reach` pixels away, and fits straight lines.
/// A side whose rim is not seen stays, and so does one that would move far inwards, to the print on
/// the sheet. Precondition: convex corners.
Refined refineCorners(const Image &image, const Corners &corners, double reach, HelperThread &core);

/// The outline with some of the sides of another one, each from a corner to the next; as it is where
/// these make no outline.
Refined withSidesOf(const Refined &other, const std::array<bool, 4> &sides, Refined outline);

} // namespace korv::crop
