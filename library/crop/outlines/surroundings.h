#pragma once

#include "library/crop/edges/search_picture.h"
#include "library/crop/lines/crop_geometry.h"

#include <array>

namespace korv::crop {

/// What goes on outside an outline. A figure, a table or the whole part of a page that leaves the
/// frame has more of the same paper and more writing outside; a sheet has the desk.
struct Surroundings
{
    double meanLikeness =
        0; ///< share of what lies beyond the sides that has the inner rim's colour
    double mostLikeness = 0; ///< the same of the side where it is most
    double meanWriting = 0; ///< share of what lies beyond the sides that is thin and dark
    double mostWriting = 0; ///< the same of the side where it is most
    double writing = 0; ///< the same of all the frame outside
    double meanInk = 0; ///< as meanWriting, much darker than what is around it: no desk's grain
    double mostInk = 0; ///< the same of the side where it is most
    double ink = 0; ///< the same of all the frame outside
    double inkedSides = 0; ///< share of the sides beyond which there is ink
    double lightness = 0; ///< of all the frame outside, by that of the lightest places in the frame
    double evenness = 0; ///< share of all the frame outside that is as light as those

    static constexpr std::size_t kCount = 11;
    std::array<double, kCount> values() const
    {
        return {meanLikeness, mostLikeness, meanWriting, mostWriting, writing, meanInk,
                mostInk,      ink,          inkedSides,  lightness,   evenness};
    }
};

/// Precondition: convex corners in the search picture.
Surroundings surroundingsOf(const Corners &corners, const SearchPicture &picture);

} // namespace korv::crop
