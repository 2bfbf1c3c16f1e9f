#pragma once

#include "library/crop/edges/search_picture.h"
#include "library/crop/lines/line_evidence.h"

#include <vector>

namespace korv::crop {

/// Whether an outline is a figure's on a page: the paper around it is about as light or lighter, and ends
/// itself at straight edges along the outline's sides. So a page is seen even where it runs out of the
/// frame. Also true of an outline that is a thin line and nothing else, the same on both sides.
/// Precondition: convex corners, in the search picture; `lines` are its lines.
bool isOnAPage(const Corners &corners, const std::vector<LineEvidence> &lines,
               const Planes &planes);

} // namespace korv::crop
