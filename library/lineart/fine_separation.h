#pragma once

#include "library/lineart/evened_page.h"

#include <opencv2/core.hpp>

namespace korv {

/// Separates ink from paper at twice the resolution of `page`: 0 is ink, 255 paper. What is hardly
/// darker than paper, or almost as dark as the darkest stroke nearby, is clear by itself. Between them a
/// network decides (StrokeNetwork), and of the four quarters of such a pixel as many become black as it
/// finds ink in all of them: so a shade that is neither bar nor gap stays a shade.
/// `result` (CV_8UC1) has twice the page's width and height. Throws std::bad_alloc, cv::Exception.
void separateFinely(const EvenedPage &page, cv::Mat &result);

} // namespace korv
