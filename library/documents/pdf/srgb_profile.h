#pragma once

#include "library/base/bytes.h"

namespace korv {

/// An ICC display profile of sRGB (ICC.1:2004-10, version 4.2), made from the figures of
/// IEC 61966-2-1: primaries, white point, transfer curve. Always the same bytes, about 600.
Bytes srgbProfile();

} // namespace korv
