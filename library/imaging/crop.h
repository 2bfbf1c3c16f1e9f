#pragma once

#include "library/imaging/image.h"
#include "library/imaging/second_core.h"

#include <array>
#include <optional>

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

/// Finds the one sheet in the picture. Nothing when it is not sure: a cut strip of content is worse
/// than an uncut desk. Throws std::bad_alloc, cv::Exception.
std::optional<Quadrilateral> findSheet(const Image &image, SecondCore &core);

/// The sheet straightened; its dpi is not known any more. Throws std::bad_alloc, cv::Exception.
Image cutSheet(const Image &image, const Quadrilateral &sheet, SecondCore &core);

} // namespace korv
