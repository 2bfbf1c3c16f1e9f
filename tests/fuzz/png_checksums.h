#pragma once

#include "library/base/bytes.h"

namespace fuzz {

/// The PNG with the right checksum behind each of its whole chunks (PNG, 5.3).
korv::Bytes withRightChecksums(korv::ByteView png);

} // namespace fuzz
