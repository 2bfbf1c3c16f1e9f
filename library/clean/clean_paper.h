#pragma once

#include "library/image/image.h"
#include "library/threads/helper_thread.h"

namespace korv {

/// Evens out the light on a photographed page, in place: shadows go, blank paper becomes one neutral
/// white, and the colours of print and pictures keep their relation to it. That white is as bright as
/// the best lit paper was, but no darker than 190 of 255. Bilevel pictures stay as they are. One
/// half of the work runs on `core`. Throws std::bad_alloc, cv::Exception.
void cleanPaper(Image &image, HelperThread &core);

} // namespace korv
