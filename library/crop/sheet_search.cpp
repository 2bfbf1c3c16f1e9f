#include "library/crop/sheet_search.h"

#include "library/crop/lines/line_votes.h"
#include "library/crop/outlines/cutting_mat.h"
#include "library/crop/outlines/false_ends.h"
#include "library/crop/outlines/frame_exit.h"
#include "library/crop/outlines/outline_widener.h"
#include "library/crop/outlines/page_around.h"
#include "library/crop/outlines/printed_border.h"

#include <algorithm>

namespace korv::crop {

namespace {

constexpr int kSmallestSide = 64; ///< of a search picture worth the name
constexpr std::size_t kMaxQuads = 1500;
// in pixels of the search picture
constexpr double kRefinementReach = 3.5;
constexpr double kWideningReach = 12;
constexpr double kBorderStep = 0.5;
constexpr double kBorderReach = 2; ///< its end is known better than a side that was searched

} // namespace

bool SheetSearch::isLargeEnough(const Image &image)
{
    const cv::Size size = searchSize(image);
    return std::min(size.width, size.height) >= kSmallestSide;
}

SheetSearch::SheetSearch(const Image &image, HelperThread &core)
    : m_image(image)
    , m_core(core)
    , m_picture(makeSearchPicture(image, core))
    , m_edges(m_picture, core)
    , m_map(m_picture.size())
    , m_lines(m_map, m_picture.closed, core)
{
}

std::vector<Candidate> SheetSearch::searchWithoutText()
{
    return search(m_edges.closed());
}

std::vector<Candidate> SheetSearch::searchAll()
{
    return search(m_edges.plain());
}

std::vector<Candidate> SheetSearch::search(const std::vector<Edge> &edges)
{
    std::vector<Line> likely;
    const auto vote = [&] { likely = likelyLines(edges, m_picture.size()); };
    const auto prepare = [&] {
        m_map.add(edges);
        if (!m_reach)
            m_reach.emplace(m_picture.closed);
    };
    m_core.runBoth(vote, prepare);
    m_lines.add(likely);
    const FeatureContext surroundings{m_map, *m_reach, m_picture.writing};
    std::vector<Candidate> candidates;
    m_evidence = evidenceOfLines();
    for (const Quad &quad : findQuads(m_evidence, m_picture.size(), kMaxQuads)) {
        const Features features = featuresOf(quad, surroundings);
        candidates.push_back({quad.corners, features, rankOf(features)});
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate &a, const Candidate &b) { return a.rank > b.rank; });
    return candidates;
}

std::vector<LineEvidence> SheetSearch::evidenceOfLines() const
{
    const std::vector<FoundLine> lines = m_lines.best();
    const auto gather = [&](int first, int end, std::vector<LineEvidence> &evidence) {
        for (int i = first; i < end; ++i)
            evidence.emplace_back(lines[static_cast<std::size_t>(i)], m_map, m_picture.closed);
    };
    return m_core.collect<LineEvidence>(0, static_cast<int>(lines.size()), gather);
}

Refined SheetSearch::refined(const Candidate &candidate) const
{
    return refineCorners(m_image, m_picture.toFrame(candidate.corners),
                         kRefinementReach / m_picture.scale, m_core);
}

Refined SheetSearch::withBorder(const Refined &outline) const
{
    const double step = kBorderStep / m_picture.scale;
    const double reach = kBorderReach / m_picture.scale;
    if (const auto found = outlineOfBorder(m_image, outline.corners, step, m_core))
        return refineCorners(m_image, *found, reach, m_core);
    return withMargins(m_image, outline, step, reach, m_core);
}

Corners SheetSearch::widened(const Refined &outline) const
{
    return crop::widened(m_image, outline, kWideningReach / m_picture.scale, m_core);
}

Corners SheetSearch::withoutFalseEnds(const Corners &corners) const
{
    return crop::withoutFalseEnds(m_image, m_picture, corners, kRefinementReach / m_picture.scale,
                                  m_core);
}

Surroundings SheetSearch::around(const Candidate &candidate) const
{
    return surroundingsOf(candidate.corners, m_picture);
}

bool SheetSearch::isOnAPage(const Corners &corners) const
{
    return crop::isOnAPage(m_picture.fromFrame(corners), m_evidence, m_picture.closed);
}

bool SheetSearch::leavesFrame(const Corners &corners) const
{
    return crop::leavesFrame(m_picture.fromFrame(corners), m_picture);
}

bool SheetSearch::isCuttingMat(const Corners &corners) const
{
    return crop::isCuttingMat(m_picture.fromFrame(corners), m_picture.plainLuma);
}

} // namespace korv::crop
