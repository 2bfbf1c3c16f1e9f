#include "library/crop/outlines/printed_border.h"

#include "library/base/median.h"
#include "library/crop/outlines/frame_colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace korv::crop {

namespace {

constexpr int kBorderPlaces = 48; ///< along a side
constexpr double kBorderEndsLeftOut = 0.06; ///< of a side: there the neighbours' border begins
constexpr double kWidestBorder = 0.2; ///< of the picture's short sides
// in steps
constexpr int kClear = 3; ///< from the side on, its own blur is over
constexpr int kNarrowest = 5;
constexpr double kOffLine = 1.5; ///< that a border may end beside its line

constexpr float kBlank = 16; ///< levels that a border may vary
constexpr float kLighterBy = 10; ///< levels
constexpr double kEndsOnLine = 0.7; ///< share of the places
constexpr double kMostUneven = 2.5; ///< of the widths of borders
constexpr int kLightSides = 3; ///< along which the border is lighter than the picture

constexpr int kDeepest = 24; ///< steps inside a side, within which paper is seen between the print
constexpr int kWidestMargin = 24; ///< steps
constexpr float kLikePaper = 20; ///< levels that a margin may differ from that
constexpr double kOfPaper = 0.75; ///< share of the places

float brightnessOf(const cv::Vec3f &colour)
{
    return (colour[0] + colour[1] + colour[2]) / 3;
}

/// What lies beyond one side of the picture.
class Margin
{
public:
    Margin(const Image &image, cv::Point2d from, cv::Point2d to, cv::Point2d centre, double step)
        : m_image(image)
        , m_line(lineThrough(from, to))
        , m_from(from)
        , m_to(to)
        , m_outwards(m_line.normalAwayFrom(centre) * step)
        , m_along(m_line.direction() * step)
    {
    }

    bool isLighterThanPicture() const
    {
        std::vector<float> differences;
        for (int place = 0; place < kBorderPlaces; ++place) {
            const double at = shareAt(place);
            differences.push_back(brightnessOf(colourAt(at, kClear))
                                  - brightnessOf(colourAt(at, -kClear)));
        }
        return medianOf(differences) >= kLighterBy;
    }

    /// Whether what lies next to the side is as the lightest places within.
    bool isOfThePaper() const
    {
        int count = 0;
        for (int place = 0; place < kBorderPlaces; ++place) {
            const double at = shareAt(place);
            cv::Vec3f paper;
            for (int k = kClear; k <= kDeepest; k += 2) {
                const cv::Vec3f colour = colourAt(at, -k);
                if (brightnessOf(colour) > brightnessOf(paper))
                    paper = colour;
            }
            count += cv::norm(colourAt(at, kClear) - paper) <= kLikePaper ? 1 : 0;
        }
        return count >= kOfPaper * kBorderPlaces;
    }

    /// Looks for where the border ends, at most that many steps away. False when it has no clear end.
    bool findEnd(int furthest)
    {
        std::vector<cv::Point2d> ends; ///< share of the side, and steps
        for (int place = 0; place < kBorderPlaces; ++place) {
            const double at = shareAt(place);
            const int steps = endAt(at, furthest);
            if (steps >= kNarrowest && steps < furthest)
                ends.emplace_back(at, steps);
        }
        return fitLine(ends);
    }

    Line end() const { return lineThrough(pointAt(0, m_first), pointAt(1, m_last)); }
    double width() const { return (m_first + m_last) / 2; }

private:
    static double shareAt(int place)
    {
        return kBorderEndsLeftOut + (1 - 2 * kBorderEndsLeftOut) * place / (kBorderPlaces - 1);
    }

    cv::Point2d pointAt(double at, double steps) const
    {
        return m_from + (m_to - m_from) * at + m_outwards * steps;
    }

    cv::Vec3f colourAt(double at, int steps) const
    {
        return frameColourAlong(m_image, pointAt(at, steps), m_along);
    }

    /// Where it first is darker and stays so; `furthest` when it nowhere is, 0 when it turns lighter.
    int endAt(double at, int furthest) const
    {
        const cv::Vec3f border = colourAt(at, kClear);
        int away = 0;
        for (int k = kClear + 1; k < furthest; ++k) {
            const cv::Vec3f colour = colourAt(at, k);
            away = cv::norm(colour - border) > kBlank ? away + 1 : 0;
            if (away == 2)
                return brightnessOf(border) - brightnessOf(colour) >= kLighterBy ? k - 1 : 0;
        }
        return furthest;
    }

    /// The line on which most of the ends lie.
    bool fitLine(const std::vector<cv::Point2d> &ends)
    {
        const auto enough = static_cast<std::size_t>(kEndsOnLine * kBorderPlaces);
        if (ends.size() < enough)
            return false;
        const std::size_t half = ends.size() / 2;
        const cv::Point2d start = medianEnd(ends, 0, half);
        const cv::Point2d rest = medianEnd(ends, half, ends.size());
        const double slope = (rest.y - start.y) / (rest.x - start.x);
        cv::Point2d sum;
        std::size_t count = 0;
        for (const cv::Point2d &end : ends) {
            if (std::abs(end.y - start.y - slope * (end.x - start.x)) <= kOffLine) {
                sum += end;
                ++count;
            }
        }
        if (count < enough)
            return false;
        const cv::Point2d middle = sum * (1.0 / static_cast<double>(count));
        m_first = middle.y - slope * middle.x;
        m_last = m_first + slope;
        return true;
    }

    static cv::Point2d medianEnd(const std::vector<cv::Point2d> &ends, std::size_t first,
                                 std::size_t last)
    {
        std::vector<double> places;
        std::vector<double> steps;
        for (std::size_t i = first; i < last; ++i) {
            places.push_back(ends[i].x);
            steps.push_back(ends[i].y);
        }
        return {medianOf(places), medianOf(steps)};
    }

    const Image &m_image;
    Line m_line;
    cv::Point2d m_from;
    cv::Point2d m_to;
    cv::Point2d m_outwards; ///< one step
    cv::Point2d m_along; ///< one step
    double m_first = 0; ///< steps to the border's end, at the side's first corner ...
    double m_last = 0; ///< ... and at the other one
};

/// The longer one of the two short sides.
double shortSide(const Corners &corners)
{
    return std::min(std::max(length(corners[1] - corners[0]), length(corners[3] - corners[2])),
                    std::max(length(corners[2] - corners[1]), length(corners[0] - corners[3])));
}

} // namespace

std::optional<Corners> outlineOfBorder(const Image &image, const Corners &corners, double step,
                                       HelperThread &core)
{
    const cv::Point2d centre = centreOf(corners);
    const int furthest = static_cast<int>(kWidestBorder * shortSide(corners) / step);
    std::vector<Margin> margins;
    for (std::size_t i = 0; i < 4; ++i)
        margins.emplace_back(image, corners[i], corners[(i + 1) % 4], centre, step);
    // this alone tells nearly every sheet from a picture, without looking for the end of its desk
    const auto isLighter = [](const Margin &margin) { return margin.isLighterThanPicture(); };
    if (std::count_if(margins.begin(), margins.end(), isLighter) < kLightSides)
        return std::nullopt;
    std::array<bool, 4> hasEnd{};
    core.shareRange(0, 4, [&](int first, int end) {
        for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i)
            hasEnd[i] = margins[i].findEnd(furthest);
    });
    if (std::count(hasEnd.begin(), hasEnd.end(), false) > 0)
        return std::nullopt;
    const auto byWidth = [](const Margin &a, const Margin &b) { return a.width() < b.width(); };
    const auto [narrowest, widest] = std::minmax_element(margins.begin(), margins.end(), byWidth);
    if (widest->width() > kMostUneven * narrowest->width())
        return std::nullopt;
    const std::optional<Corners> result =
        cornersOfLines({margins[0].end(), margins[1].end(), margins[2].end(), margins[3].end()});
    return result && isConvex(*result) ? result : std::nullopt;
}

Refined withMargins(const Image &image, const Refined &outline, double step, double reach,
                    HelperThread &core)
{
    const Corners &corners = outline.corners;
    const cv::Point2d centre = centreOf(corners);
    std::array<Line, 4> lines;
    std::array<bool, 4> moved{};
    core.shareRange(0, 4, [&](int first, int end) {
        for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i) {
            const cv::Point2d next = corners[(i + 1) % 4];
            Margin margin(image, corners[i], next, centre, step);
            moved[i] = margin.isOfThePaper() && margin.findEnd(kWidestMargin);
            lines[i] = moved[i] ? margin.end() : lineThrough(corners[i], next);
        }
    });
    if (std::count(moved.begin(), moved.end(), true) == 0)
        return outline;
    const std::optional<Corners> outside = cornersOfLines(lines);
    if (!outside || !isConvex(*outside))
        return outline;
    return withSidesOf(refineCorners(image, *outside, reach, core), moved, outline);
}

} // namespace korv::crop
