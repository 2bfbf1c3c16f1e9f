#pragma once

#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <array>

namespace korv::crop {

/// Maps (x, y, 1) to multiples of (x', y', 1); row by row.
using Homography = std::array<double, 9>;

/// Fills `target` with what `source` shows where `toSource` maps its pixels' centres to: between
/// pixels mixed of the four around, outside repeated from the border. The formats are the same. Shares
/// the work with `core` when the picture is worth it.
/// Throws std::bad_alloc.
void warpPerspective(const Image &source, const Homography &toSource, Image &target,
                     HelperThread &core);

} // namespace korv::crop
