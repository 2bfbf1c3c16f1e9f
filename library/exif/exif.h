#pragma once

#include "library/base/bytes.h"
#include "library/image/resolution.h"

namespace korv {

/// The orientation (1..8) stated by an EXIF APP1 payload; `otherwise` when the payload is not EXIF,
/// is damaged, or does not say. Source: EXIF 2.3, 4.5 and 4.6.4 (tag 0x0112).
int exifOrientation(ByteView payload, int otherwise);

/// The same of the block alone, without the signature in front of it: what PNG's eXIf holds.
int exifBlockOrientation(ByteView block, int otherwise);

/// The resolution stated by an EXIF APP1 payload, in dots per inch; not known when the payload is
/// not EXIF, is damaged, or does not say. Source: EXIF 2.3, 4.6.4 (tags 0x011A, 0x011B, 0x0128).
Resolution exifResolution(ByteView payload);

} // namespace korv
