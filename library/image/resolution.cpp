#include "library/image/resolution.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace korv {

namespace {

constexpr double kMmPerInch = 25.4;
constexpr double kA4LongSideInches = 297 / kMmPerInch;

// PDF readers take pages from 3 to 14,400 points a side (ISO 32000-1, annex C.2)
constexpr double kShortestInches = 3.0 / 72;
constexpr double kMaxInches = 14'400.0 / 72;

// an A2 sheet, and what rounding to whole dots per inch can make of one
constexpr double kMaxPhotographLongInches = 594 * 1.01 / kMmPerInch;
constexpr double kMaxPhotographShortInches = 420 * 1.01 / kMmPerInch;

constexpr double kMaxDotShape = 5; ///< fax machines have dots of up to 408 x 98 dpi

/// What programs write that know no resolution: those of old screens. In whole pixels a metre they are
/// off by 0.016 at most, closer than a measured one is but by chance.
bool isPlaceholder(double dpi, bool exact)
{
    const double reach = exact ? 0.02 : 0.5;
    return std::abs(dpi - 72) < reach || std::abs(dpi - 96) < reach;
}

/// A second number that makes no sense does not count.
Resolution withPlausibleDots(const Resolution &stated)
{
    const bool plausible = stated.isKnown() && stated.y <= stated.x * kMaxDotShape
        && stated.x <= stated.y * kMaxDotShape;
    return plausible ? stated : Resolution(std::max(stated.x, 0.0));
}

struct Inches
{
    double longSide = 0;
    double shortSide = 0;
};

Inches pageOf(int width, int height, const Resolution &resolution)
{
    const double across = width / resolution.x;
    const double down = height / resolution.y;
    return {std::max(across, down), std::min(across, down)};
}

/// With dots of that shape the long side is that of an A4 sheet.
Resolution a4Resolution(int width, int height, const Resolution &shape)
{
    if (!shape.isKnown() || shape.x == shape.y)
        return std::max(1.0, std::round(std::max(width, height) / kA4LongSideInches));
    const double factor = pageOf(width, height, shape).longSide / kA4LongSideInches;
    return {shape.x * factor, shape.y * factor};
}

} // namespace

Resolution Resolution::transposed() const
{
    Resolution turned = *this;
    std::swap(turned.x, turned.y);
    return turned;
}

Resolution effectiveResolution(int width, int height, const Resolution &stated)
{
    const Resolution dots = withPlausibleDots(stated);
    if (!dots.isKnown() || (isPlaceholder(dots.x, dots.exact) && isPlaceholder(dots.y, dots.exact)))
        return a4Resolution(width, height, {});
    const Inches page = pageOf(width, height, dots);
    if (page.longSide <= kMaxInches && page.shortSide >= kShortestInches)
        return dots;
    return a4Resolution(width, height, dots);
}

Resolution believableResolution(int width, int height, const Resolution &stated)
{
    const Resolution dots = withPlausibleDots(stated);
    if (!dots.isKnown())
        return {};
    const Inches page = pageOf(width, height, dots);
    if (page.longSide <= kMaxPhotographLongInches && page.shortSide <= kMaxPhotographShortInches)
        return dots;
    return dots.x == dots.y ? Resolution() : a4Resolution(width, height, dots);
}

Resolution exactResolution(int width, int height, double widthMm, double heightMm)
{
    Resolution resolution(width * kMmPerInch / widthMm, height * kMmPerInch / heightMm);
    resolution.exact = true;
    return resolution;
}

} // namespace korv
