#pragma once

#include "library/base/result.h"
#include "library/output/byte_sink.h"

namespace korv {

/// Puts `total` into the PageNumber tag of every directory of a written TIFF (TIFF 6.0 or BigTIFF,
/// in this machine's byte order). Tags and data stay where they are. Errors: what the sink
/// answered, -EIO when it holds no such TIFF.
Result<void> patchPageTotal(ByteSink &sink, std::uint16_t total);

} // namespace korv
