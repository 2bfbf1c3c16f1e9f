#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

namespace korv {

/// What stands around deflated data (RFC 1951).
enum class DeflateFrame {
    None, ///< as in ZIP archives
    Zlib, ///< as in PDF's FlateDecode (RFC 1950)
};

/// Errors: -ENOMEM.
Result<Bytes> deflated(ByteView content, DeflateFrame frame);

} // namespace korv
