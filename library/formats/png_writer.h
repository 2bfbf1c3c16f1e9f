#pragma once

#include "library/base/result.h"
#include "library/files/byte_sink.h"
#include "library/image/image.h"
#include "library/threads/row_gate.h"

namespace korv {

struct PngOptions
{
    Resolution resolution; ///< known
    RowGate *rows = nullptr; ///< for a picture that is still being filled; null: it is complete
};

/// Writes a PNG picture: RGB, 8-bit gray, or 1-bit gray for a bilevel picture.
/// Errors: what the sink answered, -ENOMEM, -EBADMSG rows that never came.
Result<void> writePng(const Image &image, const PngOptions &options, ByteSink &sink);

} // namespace korv
