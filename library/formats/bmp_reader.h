#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/formats/picture_size.h"
#include "library/image/image.h"

namespace korv {

/// Reads a Windows bitmap: 1, 4, 8, 16, 24 or 32 bits a pixel, rows either way up; those of 4 and 8
/// also run-length coded, where pixels that are left out have the palette's first colour. Pictures
/// whose palette is gray become Gray8, 1-bit ones of black and white bilevel. -EBADMSG, -EFBIG.
/// Source: Microsoft's BITMAPINFOHEADER.
Result<Image> readBmp(ByteView content);

/// From the header only. -EBADMSG.
Result<PictureSize> bmpSize(ByteView content);

} // namespace korv
