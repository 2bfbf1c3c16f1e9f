#pragma once

#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <opencv2/core.hpp>

namespace korv::compact {

/// The ink on a page.
struct Ink
{
    Image mask; ///< bilevel: black where ink is
    cv::Mat core; ///< CV_8UC1: 0 where it is darkest, inside of strokes
    cv::Mat near; ///< CV_8UC1: 0 where nothing of it can be seen, not even what a lens blurs
};

/// By darkInk(), less what lies between strokes: small type is blurred, and there the mask would
/// close its counters. `gray` is the page. One half of the work runs on `core`.
Ink inkOn(const Image &gray, HelperThread &core);

/// Whether a mask or core shows no ink at all.
bool isBlank(const cv::Mat &picture);

/// Whether the ink can be strokes of writing that a mask shows well: not most of the page, and wide
/// enough to do without gray edges.
bool isWriting(const Ink &ink);

} // namespace korv::compact
