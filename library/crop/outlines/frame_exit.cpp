#include "library/crop/outlines/frame_exit.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

namespace korv::crop {

namespace {

constexpr int kSidePoints = 48; ///< along a side
constexpr double kNearestSide =
    1; ///< pixels from the border: what is nearer is too blurred to tell
constexpr double kFarthestSide = 14; ///< pixels; more than that of the paper would be seen as such
constexpr double kInwards = 6; ///< pixels from the side to the paper inside
constexpr double kOutwards = 7; ///< pixels from a neighbouring side to the desk, beyond its shadow
constexpr double kLargelySame = 0.4;
constexpr double kHardlySame = 0.3;

/// A border of the frame, as the pixels that lie on it.
struct Border
{
    bool isUpright;
    int at; ///< column, or row, one pixel inside

    double distanceOf(cv::Point2d point) const
    {
        return std::abs((isUpright ? point.x : point.y) - at);
    }
    cv::Point nextTo(cv::Point place) const
    {
        return isUpright ? cv::Point(at, place.y) : cv::Point(place.x, at);
    }
};

/// How many of the places along a side have the colour of the paper inside also at the place that is
/// `beyond` them, given their own and the normal outwards.
template <typename Beyond>
double sameShare(const Corners &corners, std::size_t side, const Planes &planes,
                 const Beyond &beyond)
{
    const cv::Point2d from = corners[side];
    const cv::Point2d to = corners[(side + 1) % 4];
    const cv::Point2d outwards = lineThrough(from, to).normalAwayFrom(centreOf(corners));
    const cv::Rect within(cv::Point(), planes[0].size());
    int places = 0;
    int same = 0;
    for (int i = 0; i < kSidePoints; ++i) {
        const cv::Point2d place = from + (to - from) * ((i + 0.5) / kSidePoints);
        const cv::Point inside = nearestPixel(place - outwards * kInwards);
        const cv::Point outside = beyond(place, outwards);
        if (!within.contains(inside) || !within.contains(outside))
            continue;
        ++places;
        same += isAlike(planes, inside, outside) ? 1 : 0;
    }
    return 1.0 * same / std::max(1, places);
}

/// Whether the paper inside a side goes on to the border.
bool goesOn(const Corners &corners, std::size_t side, const Border &border, const Planes &planes)
{
    const auto atBorder = [&](cv::Point2d place, cv::Point2d) {
        return border.nextTo(nearestPixel(place));
    };
    return sameShare(corners, side, planes, atBorder) > kLargelySame;
}

/// Whether the desk beyond a side is of another colour than the paper: else what goes on beyond the
/// next one may be the desk.
bool hasItsOwnColour(const Corners &corners, std::size_t side, const Planes &planes)
{
    const auto onDesk = [](cv::Point2d place, cv::Point2d outwards) {
        return nearestPixel(place + outwards * kOutwards);
    };
    return sameShare(corners, side, planes, onDesk) < kHardlySame;
}

} // namespace

bool leavesFrame(const Corners &corners, const SearchPicture &picture)
{
    const cv::Size size = picture.size();
    const std::array<Border, 4> borders{
        {{true, 1}, {true, size.width - 2}, {false, 1}, {false, size.height - 2}}};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::size_t next = (i + 1) % 4;
        for (const Border &border : borders) {
            const auto [nearest, farthest] =
                std::minmax({border.distanceOf(corners[i]), border.distanceOf(corners[next])});
            if (nearest + farthest >= 2 * kNearestSide && farthest <= kFarthestSide
                && goesOn(corners, i, border, picture.closed)
                && hasItsOwnColour(corners, next, picture.closed)
                && hasItsOwnColour(corners, (i + 3) % 4, picture.closed))
                return true;
        }
    }
    return false;
}

} // namespace korv::crop
