#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

namespace korv {

/// Decodes a bitmap's run-length coded pixels (RLE8, RLE4) to one palette index a byte, row by row
/// in the file's order, the lowest first. `indices` holds width x height bytes; pixels that no run
/// reaches keep what they hold, what is too long for a row is cut. -EBADMSG when runs go past the last
/// row, or the data end too early.
Result<void> decodeBmpRuns(ByteView runs, unsigned bits, std::size_t width, Bytes &indices);

} // namespace korv
