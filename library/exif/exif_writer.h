#pragma once

#include "library/base/bytes.h"
#include "library/image/resolution.h"

#include <ctime>
#include <string>

namespace korv {

/// What a photograph says about itself.
struct PhotographDetails
{
    std::time_t taken = 0; ///< 0: not known, and nothing is told at all
    std::string camera; ///< UTF-8; empty when not known
};

/// The APP1 payload of an upright sRGB photograph of so many pixels (EXIF 2.31): date and time in
/// local time with its offset, the camera as the model, the resolution. Throws std::bad_alloc only.
Bytes exifPayload(const PhotographDetails &details, int width, int height,
                  const Resolution &resolution, bool otherColours = false);

} // namespace korv
