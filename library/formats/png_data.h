#pragma once

#include "library/base/bytes.h"

namespace korv {

/// The compressed pixels of a PNG file that we wrote: the content of its IDAT chunks, put together.
/// Throws std::bad_alloc only.
Bytes pngData(ByteView png);

} // namespace korv
