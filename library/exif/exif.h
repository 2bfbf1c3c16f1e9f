#pragma once

#include "library/base/bytes.h"

namespace korv {

/// The orientation (1..8) stated by an EXIF APP1 payload; `otherwise` when the payload is not EXIF,
/// is damaged, or does not say. Source: EXIF 2.3, 4.5 and 4.6.4 (tag 0x0112).
int exifOrientation(ByteView payload, int otherwise);

/// The same of the block alone, without the signature in front of it: what PNG's eXIf holds.
int exifBlockOrientation(ByteView block, int otherwise);

} // namespace korv
