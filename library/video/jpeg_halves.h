#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/jpeg/jpeg_destination.h"

namespace korv::jpeg {

/// Makes one JPEG of two that are its halves: `upper`, which is changed, and `lower` below it
/// become a picture of `height` rows. A restart marker stands between them (ITU-T T.81, E.1.4),
/// so neither depends on how the other was coded. What the caller sees to: both are baseline in one
/// scan with the same tables, width and sampling; `upper` ends with a whole row of MCUs and has
/// them all as its restart interval; `lower` has no more of them, else it would need another
/// restart. -EBADMSG when either is no JPEG. Throws std::bad_alloc.
Result<void> joinHalves(ByteDestination &upper, ByteView lower, int height);

} // namespace korv::jpeg
