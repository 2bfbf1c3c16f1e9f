#include "library/imaging/crop.h"

#include "library/imaging/crop_geometry.h"
#include "library/imaging/opencv_threads.h"
#include "library/imaging/quad_finder.h"
#include "library/imaging/search_picture.h"
#include "library/imaging/sheet_judge.h"
#include "library/imaging/side_refiner.h"

#include <algorithm>
#include <vector>

namespace korv {

namespace {

using namespace crop;

constexpr int kSmallestSide = 64; ///< of a picture worth searching
constexpr std::size_t kMostQuads = 200;
constexpr double kRefinementReach = 3.5; ///< pixels of the search picture
// below even, as the fit weighed wrong outlines double
constexpr double kLeastTrust = -0.3;

// two sheets: one counts as clearly the larger from this ratio of areas on
constexpr double kClearlyLarger = 1.5;
constexpr double kOtherTrust = 1; ///< of a second sheet; what lies about must not count as one

struct Candidate
{
    const Quad *quad = nullptr;
    Features features;
    double rank = 0;
};

std::vector<Quad> quadsIn(const SearchPicture &picture, const EdgeMap &map,
                          const std::vector<FoundLine> &lines)
{
    std::vector<LineEvidence> evidence;
    evidence.reserve(lines.size());
    for (const FoundLine &line : lines)
        evidence.emplace_back(line, map, picture.closed);
    return findQuads(evidence, picture.size(), kMostQuads);
}

std::vector<Candidate> ranked(const std::vector<Quad> &quads, const EdgeMap &map)
{
    std::vector<Candidate> candidates;
    candidates.reserve(quads.size());
    for (const Quad &quad : quads) {
        const Features features = featuresOf(quad, map);
        candidates.push_back({&quad, features, rankOf(features)});
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate &a, const Candidate &b) { return a.rank > b.rank; });
    return candidates;
}

/// A candidate on the full picture.
struct Verdict
{
    Corners corners;
    double trust = 0;
};

Verdict judged(const Image &image, const SearchPicture &picture, const Candidate &candidate)
{
    Corners corners;
    std::transform(candidate.quad->corners.begin(), candidate.quad->corners.end(), corners.begin(),
                   [&](cv::Point2d point) { return picture.toFrame(point); });
    const Refined refined = refineCorners(image, corners, kRefinementReach / picture.scale);
    return {refined.corners, trustIn(candidate.features, refined)};
}

bool liesApart(const Corners &a, const Corners &b)
{
    return !contains(a, centreOf(b)) && !contains(b, centreOf(a));
}

/// The best candidate that lies elsewhere than the first.
const Candidate *elsewhere(const std::vector<Candidate> &candidates)
{
    const auto found =
        std::find_if(candidates.begin() + 1, candidates.end(), [&](const Candidate &each) {
            return liesApart(each.quad->corners, candidates.front().quad->corners);
        });
    return found == candidates.end() ? nullptr : &*found;
}

struct Decision
{
    bool isSettled = false; ///< looking further would not help
    std::optional<Corners> corners;
};

Decision decide(const Image &image, const SearchPicture &picture,
                const std::vector<Candidate> &candidates)
{
    if (candidates.empty())
        return {};
    const Verdict best = judged(image, picture, candidates.front());
    if (best.trust < kLeastTrust)
        return {};
    if (const Candidate *second = elsewhere(candidates)) {
        const Verdict other = judged(image, picture, *second);
        const double ratio = area(best.corners) / std::max(1.0, area(other.corners));
        if (other.trust >= kOtherTrust && ratio < kClearlyLarger) {
            if (ratio > 1 / kClearlyLarger)
                return {true, std::nullopt};
            return {true, other.corners};
        }
    }
    return {true, best.corners};
}

} // namespace

std::optional<Quadrilateral> findSheet(const Image &image)
{
    if (std::min(image.width(), image.height()) < kSmallestSide)
        return std::nullopt;
    keepOpenCvInThisThread();
    const SearchPicture picture = makeSearchPicture(image);
    if (std::min(picture.size().width, picture.size().height) < kSmallestSide)
        return std::nullopt;
    const EdgeFinder finder(picture);
    EdgeMap map(picture.size());
    LineFinder lines(map, picture.closed);
    const auto search = [&](const std::vector<Edge> &edges) {
        map.add(edges);
        lines.search(edges);
        const std::vector<Quad> quads = quadsIn(picture, map, lines.best());
        return decide(image, picture, ranked(quads, map));
    };
    Decision decision = search(finder.closed());
    // writing adds lines by the dozen: only worth it for paper that the desk hardly differs from
    if (!decision.isSettled)
        decision = search(finder.plain());
    if (!decision.corners)
        return std::nullopt;
    return quadrilateralOf(ordered(*decision.corners));
}

} // namespace korv
