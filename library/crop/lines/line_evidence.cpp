// In: a found line, the map of edges, the colours of the search picture. Out: what any piece of the
// line says about being a side of a sheet, in constant time, from sums along the line: thousands of
// outlines share the same few lines.
//
// Colours are read kStepReach pixels to either side: beyond the blur of the search picture and most
// of the shadow that paper casts. The ends of a side are judged by themselves (kEndShare), and so
// is what continues behind its corners, which tells a side from part of a longer line, such as the
// rim of the desk. The weights were fitted with these values (docs/crop.md).

#include "library/crop/lines/line_evidence.h"

#include <algorithm>
#include <cmath>

namespace korv::crop {

namespace {

constexpr double kStepReach = 5; ///< pixels on each side: beyond the blur and most of the shadow
constexpr double kEndShare = 0.15; ///< of a side: its first and last part
constexpr double kShortestEnd = 8;
constexpr double kMaxBeyond = 50;

cv::Vec3f colourAt(const Planes &planes, cv::Point2d point)
{
    const int x = std::clamp(static_cast<int>(point.x + 0.5), 0, planes[0].cols - 1);
    const int y = std::clamp(static_cast<int>(point.y + 0.5), 0, planes[0].rows - 1);
    return {static_cast<float>(planes[0].at<std::uint8_t>(y, x)),
            static_cast<float>(planes[1].at<std::uint8_t>(y, x)),
            static_cast<float>(planes[2].at<std::uint8_t>(y, x))};
}

double spread(double sumOfSquares, const cv::Vec3d &mean, double count)
{
    return std::sqrt(std::max(0.0, sumOfSquares / count - mean.dot(mean)));
}

} // namespace

LineEvidence::LineEvidence(const FoundLine &line, const EdgeMap &map, const Planes &planes)
    : m_line(line.line)
    , m_span(spanWithin(line.line, map.size(), 1))
{
    const std::uint16_t bit = EdgeMap::directionBit(line.angle);
    const auto count = static_cast<std::size_t>(std::max(0.0, m_span.to - m_span.from));
    m_sums.resize(count + 1);
    Sums sums;
    for (std::size_t i = 0; i < count; ++i) {
        const cv::Point2d point = pointAt(m_line, m_span.from + static_cast<double>(i));
        const bool edge =
            map.has(static_cast<int>(point.x + 0.5), static_cast<int>(point.y + 0.5), bit);
        const cv::Vec3f left = colourAt(planes, point + m_line.normal * kStepReach);
        const cv::Vec3f right = colourAt(planes, point - m_line.normal * kStepReach);
        const cv::Vec3f step = left - right;
        sums.edges += edge ? 1.0F : 0.0F;
        sums.left += left;
        sums.right += right;
        sums.leftSquare += left.dot(left);
        sums.rightSquare += right.dot(right);
        sums.stepSquare += step.dot(step);
        m_sums[i + 1] = sums;
    }
}

std::size_t LineEvidence::indexOf(double along) const
{
    const double index =
        std::clamp(along - m_span.from, 0.0, static_cast<double>(m_sums.size() - 1));
    return static_cast<std::size_t>(index);
}

double LineEvidence::support(double from, double to) const
{
    const std::size_t first = indexOf(from);
    const std::size_t last = indexOf(to);
    if (last <= first)
        return 0;
    return static_cast<double>(m_sums[last].edges - m_sums[first].edges)
        / static_cast<double>(last - first);
}

SideEvidence LineEvidence::piece(double from, double to) const
{
    SideEvidence result;
    const std::size_t first = indexOf(from);
    const std::size_t last = indexOf(to);
    if (last <= first)
        return result;
    const double end = std::max(kShortestEnd, kEndShare * (to - from));
    const double beyond = std::min(end, kMaxBeyond);
    result.support = support(from, to);
    result.startSupport = support(from + 2, from + 2 + end);
    result.endSupport = support(to - 2 - end, to - 2);
    // a little away from the corner: the neighbouring side is an edge there too
    result.beforeSupport = support(from - 4 - beyond, from - 4);
    result.behindSupport = support(to + 4, to + 4 + beyond);
    const auto count = static_cast<double>(last - first);
    result.left = cv::Vec3d(m_sums[last].left - m_sums[first].left) / count;
    result.right = cv::Vec3d(m_sums[last].right - m_sums[first].right) / count;
    const auto difference = [&](float Sums::*member) {
        return static_cast<double>(m_sums[last].*member - m_sums[first].*member);
    };
    result.leftSpread = spread(difference(&Sums::leftSquare), result.left, count);
    result.rightSpread = spread(difference(&Sums::rightSquare), result.right, count);
    result.step = cv::norm(result.left - result.right);
    result.steadiness =
        result.step * result.step / std::max(1.0, difference(&Sums::stepSquare) / count);
    return result;
}

} // namespace korv::crop
