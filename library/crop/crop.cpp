#include "library/crop/crop.h"

#include "library/base/log.h"
#include "library/crop/lines/crop_geometry.h"
#include "library/crop/outlines/sheet_judge.h"
#include "library/crop/sheet_search.h"
#include "library/image/opencv_threads.h"

#include <algorithm>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace korv {

namespace {

using namespace crop;

constexpr double kSettledTrust = 2; ///< of a sheet: looking further would not help
// the fit weighed wrong outlines double, and still nothing is worse than a lost strip
constexpr double kMinConfidence = 0.5;
constexpr double kBareDesk = 1.5; ///< trust more where a cut could hardly lose anything
constexpr double kMinOnDarkDesk = -3; ///< least confidence of a sheet that stands out of its desk

// two sheets: one counts as clearly the larger from this ratio of areas on
constexpr double kClearlyLarger = 1.5;
constexpr double kOtherTrust = 1; ///< of a second sheet; what lies about must not count as one

constexpr double kRuledOut = -1; ///< trust below which an outline is no sheet's

constexpr double kNoTrust = std::numeric_limits<double>::lowest();

/// A candidate on the full picture.
struct Verdict
{
    Refined outline{};
    double trust = kNoTrust;
    bool onDarkDesk = false; ///< see isOnDarkDesk()
    bool hasTwin = false; ///< another sheet, about as large, lies in the picture
    const char *objection = nullptr; ///< why it is no sheet's after all, see objectionTo()

    const Corners &corners() const { return outline.corners; }
    bool isTrusted() const { return trust >= (onDarkDesk ? kMinOnDarkDesk : kMinConfidence); }
    bool isCut() const { return isTrusted() && !hasTwin && !objection; }
};

Verdict judged(const SheetSearch &search, const Candidate &candidate,
               const std::vector<Candidate> &all, bool fromWriting)
{
    Evidence evidence;
    evidence.lead = marginOf(candidate, all);
    evidence.leadOverLarger = marginOverLarger(candidate, all);
    evidence.surroundings = search.around(candidate);
    if (isPartOfAPage(candidate, evidence.surroundings))
        return {{search.inFrame(candidate.corners)}};
    evidence.refined = search.refined(candidate);
    evidence.fromWriting = fromWriting;
    const double bonus = isOnBareDesk(evidence.surroundings) ? kBareDesk : 0;
    return {evidence.refined, confidenceOf(candidate, evidence) + bonus,
            isOnDarkDesk(candidate, evidence)};
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
            return liesApart(each.corners, candidates.front().corners);
        });
    return found == candidates.end() ? nullptr : &*found;
}

/// What counts of both searches. An outline within another one may be that of a figure on the sheet,
/// or of a part of it as far as a fold: it only counts when the outer one is surely no sheet's, and
/// nothing counts when that is open.
Verdict chosen(const Verdict &first, const Verdict &second)
{
    const bool firstIsLarger = area(first.corners()) > area(second.corners());
    const Verdict &outer = firstIsLarger ? first : second;
    const Verdict &inner = firstIsLarger ? second : first;
    if (!liesWithin(inner.corners(), outer.corners()))
        return second.trust > first.trust ? second : first;
    if (outer.isTrusted())
        return outer;
    return outer.trust >= kRuledOut ? Verdict{} : inner;
}

/// The best of one search, of two sheets the larger one.
Verdict bestOf(const SheetSearch &search, const std::vector<Candidate> &candidates,
               bool fromWriting)
{
    if (candidates.empty())
        return {};
    Verdict best = judged(search, candidates.front(), candidates, fromWriting);
    if (!best.isTrusted())
        return best;
    if (const Candidate *second = elsewhere(candidates)) {
        const Verdict other = judged(search, *second, candidates, fromWriting);
        const double ratio = area(best.corners()) / std::max(1.0, area(other.corners()));
        if (other.trust >= kOtherTrust && ratio < 1 / kClearlyLarger)
            return other;
        best.hasTwin = other.trust >= kOtherTrust && ratio < kClearlyLarger;
    }
    return best;
}

/// What tells an outline from a sheet's, however much it is trusted; null when nothing does.
const char *objectionTo(const SheetSearch &search, const Corners &corners)
{
    if (search.isOnAPage(corners))
        return ", but a page goes on around it; not cut";
    if (search.leavesFrame(corners))
        return ", but the page leaves the frame; not cut";
    if (search.isCuttingMat(corners))
        return ", but it is an empty cutting mat; not cut";
    return nullptr;
}

/// What became of the verdict, for the log.
const char *outcomeOf(const Verdict &verdict)
{
    if (!verdict.isTrusted())
        return ", too low; not cut";
    if (verdict.hasTwin)
        return ", but another sheet is about as large; not cut";
    return verdict.objection ? verdict.objection : "; cut";
}

/// What the search found, with the confidence, for the log.
std::string descriptionOf(const Verdict &verdict)
{
    if (verdict.trust == std::numeric_limits<double>::lowest())
        return "crop: no outline found";
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << "crop: confidence " << verdict.trust
         << outcomeOf(verdict) << std::setprecision(0) << "; corners";
    for (const cv::Point2d &corner : ordered(verdict.corners()))
        text << ' ' << corner.x << ',' << corner.y;
    return text.str();
}

} // namespace

std::optional<Quadrilateral> findSheet(const Image &image, HelperThread &core)
{
    if (!SheetSearch::isLargeEnough(image))
        return std::nullopt;
    keepOpenCvInThisThread();
    SheetSearch search(image, core);
    Verdict verdict = bestOf(search, search.searchWithoutText(), false);
    // writing adds lines by the dozen: only worth it for paper that the desk hardly differs from
    if (verdict.trust < kSettledTrust && !verdict.hasTwin)
        verdict = chosen(verdict, bestOf(search, search.searchAll(), true));
    if (verdict.isCut()) {
        verdict.outline = search.withBorder(verdict.outline);
        verdict.objection = objectionTo(search, verdict.corners());
        if (verdict.isCut())
            verdict.outline.corners = search.withoutFalseEnds(search.widened(verdict.outline));
    }
    logDebug([&] { return descriptionOf(verdict); });
    if (!verdict.isCut())
        return std::nullopt;
    return quadrilateralOf(ordered(verdict.corners()));
}

} // namespace korv
