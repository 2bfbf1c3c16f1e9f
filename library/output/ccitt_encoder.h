#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/imaging/image.h"
#include "library/output/page.h"

namespace korv {

/// A bilevel picture as CCITT Group 4 data (ITU-T T.6), white as 0 runs, end-of-block included: one
/// strip for TIFF's compression 4 and PDF's CCITTFaxDecode alike. -ENOMEM.
Result<Bytes> encodeCcittG4(const Image &image);

/// The page's coded lineart, or its picture coded now and kept in `own`. Errors as above.
Result<ByteView> ccittG4Of(const Page &page, Bytes &own);

} // namespace korv
