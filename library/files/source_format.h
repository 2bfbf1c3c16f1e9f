#pragma once

#include "library/base/bytes.h"

namespace korv {

/// What a file of a picture is.
enum class SourceFormat { Unknown, Jpeg, Png, Bmp, Tiff };

/// By the first bytes; file names do not count.
SourceFormat recogniseFormat(ByteView content);

/// What names of such files end with, dot included; empty for Unknown.
const char *extensionFor(SourceFormat format);

} // namespace korv
