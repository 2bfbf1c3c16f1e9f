#pragma once

#include "library/image/resolution.h"

namespace korv {

/// What a photograph shows.
enum class Motif {
    Desk, ///< the frame, or as much of it as there was
    Sheet, ///< one sheet, cut out
};

/// The resolution that a photograph of so many pixels states. `scale` is that of the desk, in pixels
/// per millimetre; 0 when nobody measured it: then a sheet of a common shape has that sheet's size,
/// and the long side of everything else is that of an A4 sheet.
Resolution photographResolution(int width, int height, Motif motif, double scale);

} // namespace korv
