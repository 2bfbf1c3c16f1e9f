#pragma once

#include "library/crop/lines/quadrilateral.h"

#include <array>
#include <optional>

#include <opencv2/core.hpp>

namespace korv::crop {

/// Corners of a quadrilateral in pixels, in a row around it.
using Corners = std::array<cv::Point2d, 4>;

/// The line of all points p with normal · p = offset; the normal has length 1.
struct Line
{
    cv::Point2d normal;
    double offset = 0;

    double distance(cv::Point2d point) const { return normal.dot(point) - offset; }
    cv::Point2d direction() const { return {-normal.y, normal.x}; }
    /// The normal that leads away from the side on which the point is.
    cv::Point2d normalAwayFrom(cv::Point2d point) const
    {
        return normal * (distance(point) > 0 ? -1.0 : 1.0);
    }
};

Line lineThrough(cv::Point2d a, cv::Point2d b);

/// Nothing when the lines meet at less than about 6 degrees.
std::optional<cv::Point2d> intersection(const Line &a, const Line &b);

/// Where the lines of the sides, in a row around, meet: the sides go from each corner to the next.
/// Nothing when neighbours do not meet.
std::optional<Corners> cornersOfLines(const std::array<Line, 4> &lines);

double length(cv::Point2d vector);
cv::Point nearestPixel(cv::Point2d point);
double area(const Corners &corners);

/// Whether the corners go round without a dent, in either sense.
bool isConvex(const Corners &corners);

cv::Point2d centreOf(const Corners &corners);

/// Precondition: convex.
bool contains(const Corners &corners, cv::Point2d point);

/// Whether one is clearly smaller and lies in the other. Its corners may lie outside by a little: both
/// may share sides, which were not found at quite the same place. Precondition: convex.
bool liesWithin(const Corners &inner, const Corners &outer);

/// Largest distance of a corner of one from the same corner of the other.
double largestShift(const Corners &a, const Corners &b);

/// Clockwise as seen, beginning at the corner nearest to the frame's top left.
Corners ordered(Corners corners);

Corners cornersOf(const Quadrilateral &sheet);
Quadrilateral quadrilateralOf(const Corners &corners);

} // namespace korv::crop
