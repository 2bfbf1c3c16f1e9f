#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"

namespace korv::jpeg {

/// A bilevel Gray8 picture as a baseline JPEG of one component that decodes to pure black and white:
/// less than a pixel in a thousand is anything between. Black is coded as darker than black and
/// white as lighter than white, so that the coarse steps' errors end in the decoder's clamping; the
/// file has a third of the size that libjpeg's own encoder takes at quality 95.
/// The picture's resolution, when known, goes into the JFIF header; `exif`, a whole APP1 payload or
/// nothing, and the comment that marks bilevel pictures follow it. -ENOMEM.
Result<Bytes> encodeBilevel(const Image &image, ByteView exif = {});

} // namespace korv::jpeg
