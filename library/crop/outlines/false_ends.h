#pragma once

#include "library/crop/edges/search_picture.h"
#include "library/crop/lines/crop_geometry.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

namespace korv::crop {

/// Moves out the sides that are no end of the sheet, but a bar code, a rule or the edge of a panel along
/// it: the rims of the neighbouring sides go on beyond such a side, up to where the sheet ends. Where
/// another rim lies there, that becomes the side; others stay as they are. `reach` is how far the new side
/// may be from there, in pixels of the frame. Precondition: convex corners, in the frame, of which the
/// search picture was made.
Corners withoutFalseEnds(const Image &image, const SearchPicture &picture, const Corners &corners,
                         double reach, HelperThread &core);

} // namespace korv::crop
