#include "library/image/resolution.h"

#include <algorithm>
#include <cmath>

namespace korv {

namespace {

constexpr double kA4LongSideInches = 297 / 25.4;

// PDF readers take pages from 3 to 14,400 points a side (ISO 32000-1, annex C.2)
constexpr double kShortestInches = 3.0 / 72;
constexpr double kMaxInches = 14'400.0 / 72;

/// What programs write that know no resolution: those of old screens.
bool isPlaceholder(double dpi)
{
    return std::lround(dpi) == 72 || std::lround(dpi) == 96;
}

} // namespace

double effectiveDpi(int width, int height, double statedDpi)
{
    const double longSide = std::max(width, height);
    const double shortSide = std::min(width, height);
    if (statedDpi > 0 && !isPlaceholder(statedDpi) && longSide / statedDpi <= kMaxInches
        && shortSide / statedDpi >= kShortestInches)
        return statedDpi;
    return std::max(1.0, std::round(longSide / kA4LongSideInches));
}

} // namespace korv
