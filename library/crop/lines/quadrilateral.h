#pragma once

#include <array>

namespace korv {

/// Corners in pixels, clockwise as seen, beginning at the one that becomes the top left.
struct Quadrilateral
{
    struct Point
    {
        double x = 0;
        double y = 0;
    };
    std::array<Point, 4> corners;
};

} // namespace korv
