#pragma once

#include "library/crop/lines/quadrilateral.h"
#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <optional>

namespace korv {

/// Finds the one sheet in the picture. Nothing when it is not sure: a cut strip of content is worse
/// than an uncut desk. Throws std::bad_alloc, cv::Exception.
std::optional<Quadrilateral> findSheet(const Image &image, HelperThread &core);

/// The sheet straightened; its dpi is not known any more. Throws std::bad_alloc, cv::Exception.
Image cutSheet(const Image &image, const Quadrilateral &sheet, HelperThread &core);

} // namespace korv
