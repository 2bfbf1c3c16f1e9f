#pragma once

#include "library/base/result.h"
#include "library/files/byte_sink.h"
#include "library/image/image.h"

namespace korv {

struct BmpOptions
{
    Resolution resolution; ///< known
};

/// Writes a Windows bitmap: 24 bits, 8 bits with a gray palette, or 1 bit for a bilevel picture.
/// Errors: what the sink answered; -EFBIG when the format's 32-bit sizes do not suffice.
Result<void> writeBmp(const Image &image, const BmpOptions &options, ByteSink &sink);

} // namespace korv
