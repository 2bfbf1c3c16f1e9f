#pragma once

#include "library/crop/edges/search_picture.h"
#include "library/crop/lines/crop_geometry.h"

namespace korv::crop {

/// Whether an outline is cut off a page that runs out of the frame: one of its sides, a line of writing
/// say, lies just inside the frame's border, and the same paper goes on up to the border.
/// Precondition: convex corners, in the search picture.
bool leavesFrame(const Corners &corners, const SearchPicture &picture);

} // namespace korv::crop
