#pragma once

#include "library/image/image.h"

namespace korv {

/// Black ink on white paper: a bilevel Gray8 picture. The paper's own brightness is evened out
/// first and the threshold follows the neighbourhood, so that shadows do not turn black.
/// Throws std::bad_alloc, cv::Exception.
Image toLineart(Image image);

} // namespace korv
