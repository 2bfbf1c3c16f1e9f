#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"

namespace korv {

/// A picture that encodeJbig2() coded, and nothing else of JBIG2: gray, bilevel. `data` may be
/// anything. Errors: -EBADMSG for what is damaged or not ours. Throws std::bad_alloc.
Result<Image> decodeJbig2(ByteView data);

} // namespace korv
