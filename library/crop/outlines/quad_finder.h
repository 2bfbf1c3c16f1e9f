#pragma once

#include "library/crop/lines/line_evidence.h"

#include <array>
#include <vector>

namespace korv::crop {

/// Four lines that may be the sides of a sheet.
struct Quad
{
    Corners corners; ///< in the search picture; side i runs from corner i to the next
    std::array<SideEvidence, 4> sides; ///< `left` is inside
    double support = 0; ///< of all sides, and the steadiness of the steps across them
};

/// All quadrilaterals of these lines that a sheet in perspective can be, best supported first, at
/// most `most` of them.
std::vector<Quad> findQuads(const std::vector<LineEvidence> &lines, cv::Size size,
                            std::size_t most);

} // namespace korv::crop
