#pragma once

#include "library/compact/ink.h"
#include "library/threads/helper_thread.h"

#include <optional>

#include <opencv2/core.hpp>

namespace korv::compact {

/// Takes the coloured ink in `area` of a page, as that of a seal over type, out of `ink`. What it
/// returns has the size of the area, and no `near`. Nothing where all ink whose colour is to be seen is
/// coloured, or none is; then `ink` stays. `page` is CV_8UC3, `paper` the page without any ink, of any
/// size. One half of the work runs on `core`.
std::optional<Ink> takeColoured(const cv::Mat &page, const cv::Mat &paper, const cv::Rect &area,
                                Ink &ink, HelperThread &core);

} // namespace korv::compact
