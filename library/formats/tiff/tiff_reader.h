#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/formats/picture_size.h"
#include "library/image/image.h"

namespace korv {

/// Reads the page of a TIFF (6.0 or BigTIFF) whose directory stands at `directory` (0: the first
/// one), in any coding that libtiff knows, upright and in sRGB, transparency put on white paper.
/// One-channel pictures become Gray8, 1-bit ones bilevel. -EBADMSG, -EFBIG, -ENOMEM.
Result<Image> readTiff(ByteView content, std::uint64_t directory);

/// From the page's directory only. -EBADMSG.
Result<PictureSize> tiffSize(ByteView content, std::uint64_t directory);

} // namespace korv
