#include "library/crop/outlines/quad_finder.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace korv::crop {

namespace {

constexpr double kSmallestShare = 0.012; ///< of the frame: a card seen from above an A3 sheet
constexpr double kMaxShare = 0.985;
constexpr double kMinSideSupport = 0.25;
constexpr double kMinMeanSupport = 0.45;
constexpr double kShortestSide = 36;
constexpr double kMaxAspect = 7.5; ///< a long receipt
constexpr double kParallelCosine = 0.90; ///< of opposite sides: 26 degrees
constexpr double kCrossingCosine = 0.57; ///< of neighbouring sides: 55 degrees and more
constexpr std::size_t kExamined = 2; ///< outlines for each that is kept
constexpr double kMargin = 1; ///< corners keep this from the frame's border

/// Where two lines meet, as distances along either.
struct Crossing
{
    bool valid = false;
    cv::Point2d point;
    double alongFirst = 0;
    double alongSecond = 0;
};

/// Over the sides, the weakest counting double.
double meanSteadiness(const Quad &quad)
{
    double sum = 0;
    double weakest = 1;
    for (const SideEvidence &side : quad.sides) {
        sum += side.steadiness;
        weakest = std::min(weakest, side.steadiness);
    }
    return (sum + weakest) / 5;
}

/// A piece of a line between two opposite lines.
struct Rung
{
    std::size_t line = 0;
    double support = 0;
};

/// A quadrilateral of which only the support is known yet.
struct Outline
{
    Corners corners;
    std::array<std::size_t, 4> lines{}; ///< of the sides, in their order
    double support = 0;
};

class QuadSearch
{
public:
    QuadSearch(const std::vector<LineEvidence> &lines, cv::Size size)
        : m_lines(lines)
        , m_size(size)
        , m_crossings(lines.size() * lines.size())
    {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            for (std::size_t k = 0; k < lines.size(); ++k)
                m_crossings[i * lines.size() + k] = crossing(lines[i].line(), lines[k].line());
        }
    }

    std::vector<Outline> run()
    {
        for (std::size_t i = 0; i < m_lines.size(); ++i) {
            for (std::size_t j = i + 1; j < m_lines.size(); ++j) {
                if (cosine(i, j) > kParallelCosine)
                    searchBetween(i, j);
            }
        }
        return std::move(m_found);
    }

private:
    Crossing crossing(const Line &a, const Line &b) const
    {
        Crossing result;
        if (std::abs(a.normal.dot(b.normal)) > kCrossingCosine)
            return result;
        const std::optional<cv::Point2d> point = intersection(a, b);
        if (!point || point->x < kMargin || point->y < kMargin
            || point->x > m_size.width - 1 - kMargin || point->y > m_size.height - 1 - kMargin)
            return result;
        return {true, *point, point->dot(a.direction()), point->dot(b.direction())};
    }

    const Crossing &at(std::size_t i, std::size_t k) const
    {
        return m_crossings[i * m_lines.size() + k];
    }

    double cosine(std::size_t i, std::size_t k) const
    {
        return std::abs(m_lines[i].line().normal.dot(m_lines[k].line().normal));
    }

    void searchBetween(std::size_t i, std::size_t j)
    {
        std::vector<Rung> rungs;
        for (std::size_t k = i + 1; k < m_lines.size(); ++k) {
            if (k == j || !at(k, i).valid || !at(k, j).valid)
                continue;
            const double a = at(k, i).alongFirst;
            const double b = at(k, j).alongFirst;
            if (std::abs(a - b) < kShortestSide)
                continue;
            const double support = m_lines[k].support(std::min(a, b), std::max(a, b));
            if (support >= kMinSideSupport)
                rungs.push_back({k, support});
        }
        for (std::size_t a = 0; a < rungs.size(); ++a) {
            for (std::size_t b = a + 1; b < rungs.size(); ++b)
                join(i, j, rungs[a], rungs[b]);
        }
    }

    double sideSupport(std::size_t i, std::size_t k, std::size_t l) const
    {
        const double a = at(i, k).alongFirst;
        const double b = at(i, l).alongFirst;
        if (std::abs(a - b) < kShortestSide)
            return 0;
        return m_lines[i].support(std::min(a, b), std::max(a, b));
    }

    void join(std::size_t i, std::size_t j, const Rung &first, const Rung &second)
    {
        const std::size_t k = first.line;
        const std::size_t l = second.line;
        if (cosine(k, l) < kParallelCosine)
            return;
        const double onI = sideSupport(i, k, l);
        if (onI < kMinSideSupport)
            return;
        const double onJ = sideSupport(j, k, l);
        if (onJ < kMinSideSupport)
            return;
        const double weakest = std::min({onI, onJ, first.support, second.support});
        const double support = (onI + onJ + first.support + second.support + weakest) / 5;
        if (support < kMinMeanSupport)
            return;
        // in a row around: i between l and k, k between i and j, j, l
        const Corners corners = {at(i, l).point, at(i, k).point, at(j, k).point, at(j, l).point};
        if (!isPlausible(corners))
            return;
        m_found.push_back({corners, {i, k, j, l}, support});
    }

    bool isPlausible(const Corners &corners) const
    {
        const double frame = static_cast<double>(m_size.area());
        const double share = area(corners) / frame;
        if (share < kSmallestShare || share > kMaxShare || !isConvex(corners))
            return false;
        const double a = length(corners[1] - corners[0]);
        const double b = length(corners[2] - corners[1]);
        const double c = length(corners[3] - corners[2]);
        const double d = length(corners[0] - corners[3]);
        const double aspect = (a + c) / (b + d);
        return std::max(aspect, 1 / aspect) < kMaxAspect && std::max(a, c) < 1.7 * std::min(a, c)
            && std::max(b, d) < 1.7 * std::min(b, d);
    }

    const std::vector<LineEvidence> &m_lines;
    cv::Size m_size;
    std::vector<Crossing> m_crossings;
    std::vector<Outline> m_found;
};

Quad withEvidence(const Outline &outline, const std::vector<LineEvidence> &lines)
{
    const Corners &corners = outline.corners;
    Quad quad;
    quad.corners = corners;
    const cv::Point2d centre = (corners[0] + corners[1] + corners[2] + corners[3]) * 0.25;
    for (std::size_t i = 0; i < 4; ++i) {
        const LineEvidence &evidence = lines[outline.lines[i]];
        const double a = corners[i].dot(evidence.line().direction());
        const double b = corners[(i + 1) % 4].dot(evidence.line().direction());
        SideEvidence side = evidence.piece(std::min(a, b), std::max(a, b));
        if (evidence.line().distance(centre) < 0) {
            std::swap(side.left, side.right);
            std::swap(side.leftSpread, side.rightSpread);
        }
        quad.sides[i] = side;
    }
    quad.support = outline.support + meanSteadiness(quad);
    return quad;
}

/// Sorts by support and forgets all but the best.
template <typename Supported> void keepBest(std::vector<Supported> &all, std::size_t most)
{
    std::stable_sort(all.begin(), all.end(),
                     [](const Supported &a, const Supported &b) { return a.support > b.support; });
    if (all.size() > most)
        all.resize(most);
}

} // namespace

std::vector<Quad> findQuads(const std::vector<LineEvidence> &lines, cv::Size size, std::size_t most)
{
    std::vector<Outline> outlines = QuadSearch(lines, size).run();
    keepBest(outlines, kExamined * most);
    std::vector<Quad> quads;
    quads.reserve(outlines.size());
    for (const Outline &outline : outlines)
        quads.push_back(withEvidence(outline, lines));
    keepBest(quads, most);
    return quads;
}

} // namespace korv::crop
