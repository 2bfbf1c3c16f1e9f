#pragma once

#include "library/lineart/evened_page.h"

namespace korv {

/// Darkens in `result` what is a thin line in `page.sharp`, and lightens what is a narrow gap there and no
/// line: blur makes both wide and almost equally dark. They are sought after smoothing, so that grain
/// does not break them, and farther from their middle than hairlines are. `result` is `page.sharp` with
/// hairlines darkened. Below 150 dots an inch, where that would be a pixel or less, nothing happens.
/// Throws std::bad_alloc, cv::Exception.
void setOffSoftLines(const EvenedPage &page, cv::Mat &result);

} // namespace korv
