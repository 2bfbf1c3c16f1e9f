#pragma once

#include "library/image/image.h"
#include "library/threads/helper_thread.h"

namespace korv::compact {

/// Takes from the edges of strokes what noise put there, and what nobody sees but a coder: pixels that
/// at most one of their four neighbours is like, then steps of one pixel out of a horizontal edge and
/// back again. `mask` is a bilevel Gray8 picture. One half of the work runs on `core`.
void smoothEdges(Image &mask, HelperThread &core);

} // namespace korv::compact
