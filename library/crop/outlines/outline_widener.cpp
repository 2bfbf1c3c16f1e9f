#include "library/crop/outlines/outline_widener.h"

#include "library/base/median.h"
#include "library/crop/outlines/frame_colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

namespace korv::crop {

namespace {

constexpr int kRimPlaces = 96; ///< along a side, from corner to corner
constexpr double kBlur = 0.08; ///< of the reach: as soft as a rim is
constexpr int kInnerSpan = 5; ///< blurs from the side inwards that show the paper
constexpr int kOuterSpan = 4; ///< blurs outwards that show the desk
constexpr float kLeastStep = 12; ///< levels between desk and paper
constexpr float kShade = 0.25F; ///< of the step, that paper may be off the side's usual level
constexpr float kTint = 40; ///< levels that paper may differ in colour, whatever its brightness
constexpr int kNeighbours = 2; ///< to either side, of whose rims the median counts
constexpr int kLeastPlaces =
    6; ///< that must stick out; fewer are a clip, or a thing next to the sheet
constexpr int kUnknown = -1;

/// What the paper looks like at one place of a side.
struct Paper
{
    cv::Vec3f colour;
    cv::Vec3f fromDesk; ///< how the paper differs from the desk; of length 1
    float level; ///< along that
    float tolerance;

    bool isLike(const cv::Vec3f &other) const
    {
        const cv::Vec3f away = other - colour;
        const cv::Vec3f aside = away - fromDesk * away.dot(fromDesk);
        return other.dot(fromDesk) >= level - tolerance
            && cv::norm(aside) <= std::min(tolerance, kTint);
    }
};

/// One side and what lies outside it.
class Verge
{
public:
    Verge(const Image &image, cv::Point2d from, cv::Point2d to, cv::Point2d centre, double reach)
        : m_image(image)
        , m_line(lineThrough(from, to))
        , m_outwards(m_line.normalAwayFrom(centre))
        , m_from(from)
        , m_to(to)
        , m_reach(std::max(4, static_cast<int>(std::lround(reach))))
        , m_blur(std::max(1, static_cast<int>(std::lround(reach * kBlur))))
    {
    }

    const Line &line() const { return m_line; }

    /// The line around all the paper that goes on beyond the side; nothing where none does.
    std::optional<Line> widened() const
    {
        const std::vector<int> rims = rimsBeyond();
        const auto sticksOut = [this](int rim) { return rim > m_blur + 1; };
        if (std::count_if(rims.begin(), rims.end(), sticksOut) < kLeastPlaces)
            return std::nullopt;
        return around(rims);
    }

private:
    cv::Point2d placeAt(int place) const
    {
        return m_from + (m_to - m_from) * ((place + 0.5) / kRimPlaces);
    }

    cv::Vec3f colourAt(int place, int outwards) const
    {
        return frameColourAlong(m_image, placeAt(place) + m_outwards * outwards,
                                m_line.direction());
    }

    /// Mean colour from one distance to another, both included.
    cv::Vec3f meanColour(int place, int from, int to) const
    {
        cv::Vec3f sum;
        for (int k = from; k <= to; ++k)
            sum += colourAt(place, k);
        return sum * (1.0F / static_cast<float>(to - from + 1));
    }

    /// How far the paper goes on beyond each place; 0 where it ends, or where its end is not seen.
    std::vector<int> rimsBeyond() const
    {
        std::vector<cv::Vec3f> inside;
        std::array<std::vector<float>, 3> steps;
        for (int place = 0; place < kRimPlaces; ++place) {
            inside.push_back(meanColour(place, -kInnerSpan * m_blur, -m_blur));
            const cv::Vec3f outside = meanColour(place, m_blur, kOuterSpan * m_blur);
            for (int channel = 0; channel < 3; ++channel)
                steps[static_cast<std::size_t>(channel)].push_back(inside.back()[channel]
                                                                   - outside[channel]);
        }
        const cv::Vec3f step(medianOf(steps[0]), medianOf(steps[1]), medianOf(steps[2]));
        const auto height = static_cast<float>(cv::norm(step));
        if (height < kLeastStep)
            return {};
        const cv::Vec3f towardsPaper = step * (1 / height);
        std::vector<float> levels;
        levels.reserve(inside.size());
        for (const cv::Vec3f &colour : inside)
            levels.push_back(colour.dot(towardsPaper));
        std::vector<float> sorted = levels;
        const float usual = medianOf(sorted);
        std::vector<int> rims;
        for (int place = 0; place < kRimPlaces; ++place) {
            const auto here = static_cast<std::size_t>(place);
            const float paper = std::max(levels[here], usual - kShade * height);
            rims.push_back(rimBeyond(place, {inside[here], towardsPaper, paper, height / 2}));
        }
        return smooth(rims);
    }

    /// Where it first is no longer paper.
    int rimBeyond(int place, const Paper &paper) const
    {
        for (int k = 0; k <= m_reach; ++k) {
            if (!paper.isLike(colourAt(place, k)))
                return k;
        }
        return kUnknown;
    }

    /// Without what single places show.
    static std::vector<int> smooth(const std::vector<int> &rims)
    {
        std::vector<int> result;
        for (int place = 0; place < kRimPlaces; ++place) {
            std::vector<int> near;
            for (int k = place - kNeighbours; k <= place + kNeighbours; ++k)
                near.push_back(rims[static_cast<std::size_t>(std::clamp(k, 0, kRimPlaces - 1))]);
            result.push_back(std::max(0, medianOf(near)));
        }
        return result;
    }

    /// The line outside all rims that is nearest to them on the whole: it holds the piece of their
    /// convex hull that lies over the side's middle.
    Line around(const std::vector<int> &rims) const
    {
        const double middle = (kRimPlaces - 1) / 2.0;
        double most = -1;
        int first = 0;
        int last = kRimPlaces - 1;
        for (int i = 0; i <= middle; ++i) {
            for (int j = kRimPlaces - 1; j > middle; --j) {
                const double share = (middle - i) / (j - i);
                const double over = rims[static_cast<std::size_t>(i)] * (1 - share)
                    + rims[static_cast<std::size_t>(j)] * share;
                if (over > most) {
                    most = over;
                    first = i;
                    last = j;
                }
            }
        }
        return lineThrough(placeAt(first) + m_outwards * rims[static_cast<std::size_t>(first)],
                           placeAt(last) + m_outwards * rims[static_cast<std::size_t>(last)]);
    }

    const Image &m_image;
    Line m_line;
    cv::Point2d m_outwards;
    cv::Point2d m_from;
    cv::Point2d m_to;
    int m_reach;
    int m_blur;
};

} // namespace

Corners widened(const Image &image, const Refined &outline, double reach, HelperThread &core)
{
    const Corners &corners = outline.corners;
    const cv::Point2d centre = centreOf(corners);
    std::array<std::optional<Line>, 4> found;
    std::array<Line, 4> lines;
    core.shareRange(0, 4, [&](int first, int end) {
        for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i) {
            const Verge verge(image, corners[i], corners[(i + 1) % 4], centre, reach);
            if (outline.agreements[i] < kStraight)
                found[i] = verge.widened();
            lines[i] = found[i].value_or(verge.line());
        }
    });
    if (std::none_of(found.begin(), found.end(), [](const auto &line) { return line.has_value(); }))
        return corners;
    const std::optional<Corners> result = cornersOfLines(lines);
    return result && isConvex(*result) ? *result : corners;
}

} // namespace korv::crop
