// In: an outline that would be cut out, the lines and the colours of the search picture. Out: whether
// it is a figure's on a page.
//
// The fit of trust knows such figures by the writing and the paper around them. On a blank page there
// is no writing, and paper beside a tinted panel has another colour: then the panel is as good as a sheet
// on a light desk. But a page ends, and its edges are parallel to what is printed on it. An edge of it
// is a line of the search along a side of the outline, with the paper that is next to the side
// in front of it and all the way to it, and something clearly darker or of another colour behind it. What
// is as light as a panel, or a little darker, is still its page when what is behind its edges is far
// darker: a sheet stands out of its desk more than that.
// One such edge may be the desk's. So that alone counts only around something darker than the paper,
// where the paper runs out of the frame on all other sides.
//
// Distances are in pixels of the search picture, brightness and colour differences in levels.

#include "library/crop/outlines/page_around.h"

#include "library/base/median.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace korv::crop {

namespace {

constexpr int kFlankPlaces = 32; ///< along a side, where colours are compared
constexpr double kFlankEndsLeftOut = 0.05; ///< of a side: there the neighbours' edges begin
constexpr std::size_t kLeastFlankPlaces = 8; ///< within the frame, for a side to be judged
constexpr double kBeside = 6; ///< from the side, to either side of it
constexpr int kRays = 24; ///< outwards from a side
constexpr double kRayStep = 4;
constexpr double kFrameMargin = 2;

// of places that are the same paper, in more or less light
constexpr float kPaperTint = 12;
constexpr float kLeastLight = 0.7F;
constexpr float kMostLight = 1.35F;

// of a line that is the paper's end
constexpr double kAlongCosine = 0.97; ///< 14 degrees: a tilted camera makes parallels meet
constexpr double kNearest = 8; ///< from the outline
constexpr double kShortest = 20; ///< of its part along the side
constexpr double kSupport = 0.8;
constexpr double kSteadiness = 0.6;
constexpr double kPaperInFront = 50;
constexpr double kTintInFront = 14;
constexpr double kDarkerBehind = 20;
constexpr double kLittleDarkerBehind = 8; ///< is enough ...
constexpr double kTintBehind = 15; ///< ... with that much of another colour
constexpr double kPaperBetween = 0.8; ///< share of what lies between the side and the line

constexpr double kSomewhatDarker = 40; ///< the paper beside any side than the outline's inside
constexpr double kFarDarker = 2; ///< what is behind an end, in multiples of that
constexpr double kClearlyLighter = 10; ///< the paper than the inside
constexpr double kGoesOut = 0.7; ///< share of the rays that run out of the frame on the paper
constexpr float kFlush = 3; ///< in luma, of paper on both sides of a thin line
constexpr float kFlushTint = 2;

cv::Vec3f colourIn(const Planes &planes, cv::Point2d point)
{
    const cv::Point at = nearestPixel(point);
    const auto plane = [&](std::size_t i) {
        return static_cast<float>(planes[i].at<std::uint8_t>(at));
    };
    return {plane(0), plane(1), plane(2)};
}

/// How far two colours are apart, whatever their brightness.
template <typename Vector> double tintBetween(const Vector &a, const Vector &b)
{
    return std::hypot(a[1] - b[1], a[2] - b[2]);
}

/// The brightest of red, green and blue: white and tinted paper have nearly the same.
double brightestChannelOf(const cv::Vec3f &colour)
{
    const float red = colour[1] - 128;
    const float blue = colour[2] - 128;
    const float brightest =
        std::max({colour[0] + 1.403F * red, colour[0] - 0.714F * red - 0.344F * blue,
                  colour[0] + 1.773F * blue});
    return std::min(255.0F, brightest);
}

/// A side of the outline and what lies beyond it.
class Flank
{
public:
    Flank(const Planes &planes, cv::Point2d from, cv::Point2d to, cv::Point2d centre)
        : m_planes(planes)
        , m_from(from)
        , m_to(to)
        , m_outwards(lineThrough(from, to).normalAwayFrom(centre))
    {
        const std::optional<cv::Vec3f> inside = colourBeside(-kBeside);
        const std::optional<cv::Vec3f> paper = colourBeside(kBeside);
        m_isKnown = inside && paper;
        m_inside = inside.value_or(cv::Vec3f());
        m_paper = paper.value_or(cv::Vec3f());
    }

    /// Whether enough of it is in the frame to say anything.
    bool isKnown() const { return m_isKnown; }
    double lighterOutside() const
    {
        return brightestChannelOf(m_paper) - brightestChannelOf(m_inside);
    }

    bool isFlush() const
    {
        return std::abs(m_paper[0] - m_inside[0]) <= kFlush
            && std::abs(m_paper[1] - m_inside[1]) <= kFlushTint
            && std::abs(m_paper[2] - m_inside[2]) <= kFlushTint;
    }

    /// Whether the paper ends at one of the lines, behind which it is darker by at least `step`.
    /// `corners` are the outline's.
    bool hasEnd(const std::vector<LineEvidence> &lines, const Corners &corners, double step) const
    {
        return std::any_of(lines.begin(), lines.end(), [&](const LineEvidence &line) {
            return isOutside(line.line(), corners) && isEdgeOfPaper(line, step)
                && isPaperUpTo(line.line());
        });
    }

    bool goesOutOfFrame() const
    {
        int rays = 0;
        int onPaper = 0;
        for (int ray = 0; ray < kRays; ++ray) {
            const cv::Point2d start = startOf(ray);
            if (!isInFrame(start + m_outwards * kBeside))
                continue;
            ++rays;
            double away = kBeside;
            while (isInFrame(start + m_outwards * away) && isPaper(start + m_outwards * away))
                away += kRayStep;
            onPaper += isInFrame(start + m_outwards * away) ? 0 : 1;
        }
        return onPaper >= kGoesOut * rays;
    }

private:
    bool isInFrame(cv::Point2d point) const
    {
        const cv::Size size = m_planes[0].size();
        return point.x >= kFrameMargin && point.y >= kFrameMargin
            && point.x < size.width - kFrameMargin && point.y < size.height - kFrameMargin;
    }

    std::optional<cv::Vec3f> colourBeside(double outwards) const
    {
        std::array<std::vector<float>, 3> found;
        for (int place = 0; place < kFlankPlaces; ++place) {
            const double at =
                kFlankEndsLeftOut + (1 - 2 * kFlankEndsLeftOut) * (place + 0.5) / kFlankPlaces;
            const cv::Point2d point = m_from + (m_to - m_from) * at + m_outwards * outwards;
            if (!isInFrame(point))
                continue;
            const cv::Vec3f colour = colourIn(m_planes, point);
            for (int plane = 0; plane < 3; ++plane)
                found[static_cast<std::size_t>(plane)].push_back(colour[plane]);
        }
        if (found[0].size() < kLeastFlankPlaces)
            return std::nullopt;
        return cv::Vec3f(medianOf(found[0]), medianOf(found[1]), medianOf(found[2]));
    }

    cv::Point2d startOf(int ray) const { return m_from + (m_to - m_from) * ((ray + 0.5) / kRays); }

    bool isPaper(cv::Point2d point) const
    {
        const cv::Vec3f colour = colourIn(m_planes, point);
        return tintBetween(colour, m_paper) <= kPaperTint && colour[0] > kLeastLight * m_paper[0]
            && colour[0] < kMostLight * m_paper[0];
    }

    /// Whether the line runs along this side, and all of the outline lies on this side of it.
    bool isOutside(const Line &line, const Corners &corners) const
    {
        const cv::Point2d away = line.normalAwayFrom(corners[0]);
        if (away.dot(m_outwards) < kAlongCosine)
            return false;
        const double sense = away.dot(line.normal);
        return std::all_of(corners.begin(), corners.end(), [&](cv::Point2d corner) {
            return sense * line.distance(corner) <= -kNearest;
        });
    }

    /// Whether this paper is in front of the line, along all of the side, and something else behind it.
    bool isEdgeOfPaper(const LineEvidence &line, double step) const
    {
        const cv::Point2d direction = line.line().direction();
        const auto [least, most] = std::minmax({m_from.dot(direction), m_to.dot(direction)});
        const double first = std::max(least, line.span().from);
        const double last = std::min(most, line.span().to);
        if (last - first < kShortest)
            return false;
        const SideEvidence piece = line.piece(first, last);
        const bool isLeftInFront = line.line().distance(m_from) > 0;
        const cv::Vec3d &front = isLeftInFront ? piece.left : piece.right;
        const cv::Vec3d &back = isLeftInFront ? piece.right : piece.left;
        const double darker = front[0] - back[0];
        const bool isOtherBehind = darker >= kDarkerBehind
            || (darker >= kLittleDarkerBehind && tintBetween(front, back) >= kTintBehind);
        return isOtherBehind && darker >= step && piece.support >= kSupport
            && piece.steadiness >= kSteadiness && std::abs(front[0] - m_paper[0]) <= kPaperInFront
            && tintBetween(front, cv::Vec3d(m_paper)) <= kTintInFront;
    }

    bool isPaperUpTo(const Line &line) const
    {
        int places = 0;
        int paper = 0;
        const double slant = std::abs(line.normal.dot(m_outwards));
        for (int ray = 0; ray < kRays; ++ray) {
            const cv::Point2d start = startOf(ray);
            const double end = std::abs(line.distance(start)) / slant - kBeside;
            for (double away = kBeside; away < end; away += kRayStep) {
                const cv::Point2d point = start + m_outwards * away;
                if (!isInFrame(point))
                    break;
                ++places;
                paper += isPaper(point) ? 1 : 0;
            }
        }
        return paper >= kPaperBetween * places;
    }

    const Planes &m_planes;
    cv::Point2d m_from;
    cv::Point2d m_to;
    cv::Point2d m_outwards;
    bool m_isKnown = false;
    cv::Vec3f m_inside;
    cv::Vec3f m_paper;
};

} // namespace

bool isOnAPage(const Corners &corners, const std::vector<LineEvidence> &lines, const Planes &planes)
{
    std::vector<Flank> flanks;
    double lighter = 255; // outside than inside, at the side where it is least
    for (std::size_t i = 0; i < 4; ++i) {
        flanks.emplace_back(planes, corners[i], corners[(i + 1) % 4], centreOf(corners));
        if (!flanks.back().isKnown())
            return false;
        lighter = std::min(lighter, flanks.back().lighterOutside());
    }
    if (std::all_of(flanks.begin(), flanks.end(),
                    [](const Flank &flank) { return flank.isFlush(); }))
        return true;
    if (lighter < -kSomewhatDarker)
        return false;
    int ends = 0;
    int open = 0;
    for (const Flank &flank : flanks) {
        if (flank.hasEnd(lines, corners, -kFarDarker * lighter))
            ++ends;
        else
            open += flank.goesOutOfFrame() ? 1 : 0;
    }
    return ends >= 2 || (ends == 1 && open == 3 && lighter >= kClearlyLighter);
}

} // namespace korv::crop
