#pragma once

#include "library/image/image.h"

namespace korv {

/// Black ink on white paper: a bilevel Gray8 picture. What goes in is a photograph of paper in any
/// light; its long side counts as that of an A4 sheet, which is where the widths of strokes come
/// from. The paper's brightness is evened out, and ink is what is darker than a share of the darkest
/// stroke nearby, down to an eighth of the paper's brightness or what the picture's own noise
/// allows. Marker, panels and the print of the back page count as paper.
///
/// `scale` is 1 or 2: 2 gives twice the width and the height, where edges lie between the pixels of
/// the photograph, which keeps fine type apart in a coarse one. The result has `scale` times the
/// stated resolution. Precondition: the result has a supported size.
/// Throws std::bad_alloc, cv::Exception.
Image toLineart(Image image, int scale = 1);

} // namespace korv
