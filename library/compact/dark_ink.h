#pragma once

#include "library/image/image.h"

namespace korv::compact {

/// Ink that is well darker than the paper around it: a bilevel Gray8 picture of the same size, ink
/// black. The threshold is that of J. Sauvola and M. Pietikäinen (2000) on paper whose light was
/// evened out. Lineart's own mask goes further down, to pale ink and into the dark parts of
/// photographs; here such things belong to the layers that keep their shades.
/// Throws std::bad_alloc, cv::Exception.
Image darkInk(const Image &page);

} // namespace korv::compact
