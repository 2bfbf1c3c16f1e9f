#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/imaging/image.h"
#include "library/output/picture_size.h"

namespace korv {

/// Reads the first page of a TIFF (6.0 or BigTIFF) in any coding that libtiff knows, upright.
/// One-channel pictures become Gray8, 1-bit ones bilevel. -EBADMSG, -EFBIG, -ENOMEM.
Result<Image> readTiff(ByteView content);

/// From the first page's directory only. -EBADMSG.
Result<PictureSize> tiffSize(ByteView content);

} // namespace korv
