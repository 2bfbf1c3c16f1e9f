#pragma once

#include "library/image/image.h"

/// Pages of type, in focus and out of it.
namespace testing_support {

inline constexpr int kTypedWidth = 1400;
inline constexpr int kTypedHeight = 1800;

/// Lines of type with capitals of `size` pixels, Gray8.
korv::Image typed(int size);

/// The same out of focus by a standard deviation in pixels.
korv::Image blurred(const korv::Image &image, double deviation);

/// A few such lines, which a recogniser reads quickly.
korv::Image linesOfType();

} // namespace testing_support
