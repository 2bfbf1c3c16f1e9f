#include "library/crop/lines/crop_geometry.h"

#include <algorithm>
#include <cmath>

namespace korv::crop {

namespace {

constexpr double kSameRatio = 1.06; ///< of areas, up to which nested outlines are the same sheet's
constexpr double kCornersInside = 0.97; ///< share of the way to them that has to lie inside

} // namespace

Line lineThrough(cv::Point2d a, cv::Point2d b)
{
    const cv::Point2d along = b - a;
    const double norm = std::max(1e-9, length(along));
    Line line;
    line.normal = {along.y / norm, -along.x / norm};
    line.offset = line.normal.dot(a);
    return line;
}

std::optional<cv::Point2d> intersection(const Line &a, const Line &b)
{
    const double cross = a.normal.cross(b.normal);
    if (std::abs(cross) < 0.1)
        return std::nullopt;
    return cv::Point2d((a.offset * b.normal.y - b.offset * a.normal.y) / cross,
                       (b.offset * a.normal.x - a.offset * b.normal.x) / cross);
}

std::optional<Corners> cornersOfLines(const std::array<Line, 4> &lines)
{
    Corners corners;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::optional<cv::Point2d> point = intersection(lines[(i + 3) % 4], lines[i]);
        if (!point)
            return std::nullopt;
        corners[i] = *point;
    }
    return corners;
}

double length(cv::Point2d vector)
{
    return std::hypot(vector.x, vector.y);
}

cv::Point nearestPixel(cv::Point2d point)
{
    return {static_cast<int>(std::floor(point.x + 0.5)),
            static_cast<int>(std::floor(point.y + 0.5))};
}

double area(const Corners &corners)
{
    double twice = 0;
    for (std::size_t i = 0; i < 4; ++i)
        twice += corners[i].cross(corners[(i + 1) % 4]);
    return std::abs(twice) / 2;
}

bool isConvex(const Corners &corners)
{
    int clockwise = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2d in = corners[(i + 1) % 4] - corners[i];
        const cv::Point2d out = corners[(i + 2) % 4] - corners[(i + 1) % 4];
        clockwise += in.cross(out) > 0 ? 1 : 0;
    }
    return clockwise == 0 || clockwise == 4;
}

cv::Point2d centreOf(const Corners &corners)
{
    return (corners[0] + corners[1] + corners[2] + corners[3]) * 0.25;
}

bool contains(const Corners &corners, cv::Point2d point)
{
    int clockwise = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2d along = corners[(i + 1) % 4] - corners[i];
        clockwise += along.cross(point - corners[i]) > 0 ? 1 : 0;
    }
    return clockwise == 0 || clockwise == 4;
}

bool liesWithin(const Corners &inner, const Corners &outer)
{
    const cv::Point2d centre = centreOf(inner);
    if (area(outer) <= kSameRatio * area(inner) || !contains(outer, centre))
        return false;
    const auto isInside = [&](cv::Point2d corner) {
        return contains(outer, centre + (corner - centre) * kCornersInside);
    };
    return std::count_if(inner.begin(), inner.end(), isInside) >= 3;
}

double largestShift(const Corners &a, const Corners &b)
{
    double largest = 0;
    for (std::size_t i = 0; i < 4; ++i)
        largest = std::max(largest, length(a[i] - b[i]));
    return largest;
}

Corners ordered(Corners corners)
{
    const cv::Point2d centre = centreOf(corners);
    const auto angle = [&](cv::Point2d p) { return std::atan2(p.y - centre.y, p.x - centre.x); };
    std::sort(corners.begin(), corners.end(),
              [&](cv::Point2d a, cv::Point2d b) { return angle(a) < angle(b); });
    const auto first =
        std::min_element(corners.begin(), corners.end(),
                         [](cv::Point2d a, cv::Point2d b) { return a.x + a.y < b.x + b.y; });
    std::rotate(corners.begin(), first, corners.end());
    return corners;
}

Corners cornersOf(const Quadrilateral &sheet)
{
    Corners corners;
    std::transform(sheet.corners.begin(), sheet.corners.end(), corners.begin(),
                   [](const Quadrilateral::Point &point) { return cv::Point2d(point.x, point.y); });
    return corners;
}

Quadrilateral quadrilateralOf(const Corners &corners)
{
    Quadrilateral sheet;
    std::transform(corners.begin(), corners.end(), sheet.corners.begin(),
                   [](const cv::Point2d &point) {
                       return Quadrilateral::Point{point.x, point.y};
                   });
    return sheet;
}

} // namespace korv::crop
