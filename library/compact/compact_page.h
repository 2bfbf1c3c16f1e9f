#pragma once

#include "library/base/result.h"
#include "library/documents/page_layers.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <optional>

namespace korv {

/// Takes a page of writing apart: the ink that is well darker than the paper, the colours of the ink
/// ten times as coarse, the paper four times as coarse, photographs as they are. `quality` (1..100)
/// bounds that of the photographs. One half of the work runs on `core`. Nothing for a page that is
/// better left a picture: too little of it is paper, or its strokes are too fine for a mask of one bit.
/// Errors: -ENOMEM. Throws std::bad_alloc, cv::Exception.
Result<std::optional<PageLayers>> takeApart(const Image &page, int quality, HelperThread &core);

} // namespace korv
