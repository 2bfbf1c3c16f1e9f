#pragma once

#include "library/base/bytes.h"

#include <optional>

namespace korv {

/// What changes in a picture while a camera adapts to its scene.
struct FrameMeasure
{
    double brightness = 0; ///< mean of the luma, 0 to 255
    double sharpness = 0; ///< mean square of the luma's second differences; grows with the contrast
};

/// Of a JPEG frame; nothing when it cannot be decoded. Takes about half as long as a decode: half
/// the size in each direction is enough, and colours do not count.
std::optional<FrameMeasure> measureFrame(ByteView jpeg);

} // namespace korv
