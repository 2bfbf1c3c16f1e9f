#pragma once

#include "library/base/bytes.h"
#include "library/image/image.h"

#include <optional>

namespace korv {

/// A bilevel picture in JBIG2 (ITU-T T.88), as PDF's JBIG2Decode takes it (ISO 32000-1, 7.4.7): each
/// letter once, the others as what they differ in. Without loss: every pixel comes back, so no letter
/// can take the place of another. Nothing where the picture is not one of small things, as writing is:
/// CCITT G4 suits it better. Throws std::bad_alloc.
std::optional<Bytes> encodeJbig2(const Image &image);

} // namespace korv
