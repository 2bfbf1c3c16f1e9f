#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/formats/picture_size.h"
#include "library/image/image.h"

namespace korv {

/// Reads a PNG picture (ISO/IEC 15948) of any kind. 16 bits become 8, transparency is put on white
/// paper; 1-bit gray becomes bilevel; eXIf's orientation is applied. -EBADMSG, -EFBIG, -ENOMEM.
Result<Image> readPng(ByteView content);

/// From the header only. -EBADMSG.
Result<PictureSize> pngSize(ByteView content);

} // namespace korv
