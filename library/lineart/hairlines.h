#pragma once

#include "library/lineart/evened_page.h"

namespace korv {

/// Darkens the middle of thin lines in `page.sharp`. The hairlines of small type, which blur leaves
/// half as dark as the stems beside them, would get holes otherwise. A stroke's edge, which is darker
/// than one side only, stays where it is. Lines and gaps that blur has made wider are set off as well
/// (soft_lines.h). Throws std::bad_alloc, cv::Exception.
void deepenHairlines(EvenedPage &page);

} // namespace korv
