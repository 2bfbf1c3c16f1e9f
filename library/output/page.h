#pragma once

#include "library/base/bytes.h"
#include "library/imaging/image.h"
#include "library/imaging/jpeg.h"

namespace korv {

/// One page as the document writers take it: a JPEG to be stored byte for byte, or a picture of two
/// levels. Both belong to whoever made the page.
struct Page
{
    ByteView jpeg; ///< complete file; empty for lineart
    jpeg::Info info; ///< of the JPEG
    const Image *lineart = nullptr; ///< bilevel; null for a JPEG page
    ByteView codedLineart; ///< in the container's coding; empty: the writer codes it
    int width = 0; ///< pixels
    int height = 0;
    double dpi = 0; ///< above 0
};

} // namespace korv
