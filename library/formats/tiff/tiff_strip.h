#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"

namespace korv {

/// A bilevel picture as CCITT Group 4 data (ITU-T T.6), white as 0 runs, end-of-block included: one
/// strip for TIFF's compression 4 and PDF's CCITTFaxDecode alike. -ENOMEM.
Result<Bytes> encodeCcittG4(const Image &image);

/// A picture as one strip for TIFF's compression 8: rows of gray or RGB bytes behind the horizontal
/// predictor, or of bits, white as 1, without it. -ENOMEM.
Result<Bytes> encodeDeflate(const Image &image);

} // namespace korv
