#pragma once

#include "library/base/result.h"
#include "library/documents/made/pdf_file.h"
#include "library/image/image.h"

namespace korv {

/// The pixels of a picture that PdfWriter wrote, in gray: a JPEG, CCITT G4, JBIG2 or deflated. Stencil masks
/// are black where they paint. Errors: -EBADMSG damaged, or of another kind; -EFBIG, -ENOMEM.
Result<Image> pixelsOf(const PdfObject &picture);

} // namespace korv
