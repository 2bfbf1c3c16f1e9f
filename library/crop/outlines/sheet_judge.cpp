#include "library/crop/outlines/sheet_judge.h"

#include "library/crop/outlines/sheet_weights.h"

#include <algorithm>
#include <cmath>

namespace korv::crop {

namespace {

// what fit.py has, too
constexpr double kMaxLead = 8; ///< of a candidate without a rival
constexpr double kOtherRatio = 1.06; ///< of areas, from which on two outlines differ ...
constexpr double kOtherAway = 0.03; ///< ... or distance of their centres, in sides
constexpr double kLargerRatio = 1.15; ///< of areas, from which on one outline can be around another

// of 5,700 sheets that are found, these leave five whole
constexpr double kWrittenSides = 0.75; ///< share of the sides beyond which there is ink
constexpr double kMostlyLight = 0.6; ///< evenness of paper all around
constexpr double kMostlyLike = 0.5;
constexpr double kFlushStep = 8; ///< levels between inside and outside
constexpr double kSomeInk = 0.01;
constexpr double kMuchInk = 0.02;
constexpr double kNoInk = 0.002;
constexpr double kNoLikeness = 0.1;
constexpr double kLighter = 0.9; ///< of 1: inside than outside
constexpr double kNothingLight = 0.08; ///< evenness of what is not paper
constexpr double kDarkDesk = 0.5; ///< lightness of the desk
constexpr double kUnlikeDesk = 0.05; ///< likeness
constexpr double kStraySpecks = 0.01; ///< ink beyond a side
constexpr double kMarks = 0.05; ///< the same of marks to lay sheets along, where the sides are sure
constexpr double kSureSides = 0.97; ///< agreement
constexpr double kMinShareOfFrame = 0.1; ///< smaller light things are as often no sheet

bool isRival(const Candidate &other, const Candidate &candidate)
{
    const double size = area(candidate.corners);
    const double otherSize = area(other.corners);
    const double ratio = std::max(size, otherSize) / std::max(1.0, std::min(size, otherSize));
    const double away = length(centreOf(other.corners) - centreOf(candidate.corners));
    return ratio > kOtherRatio || away > kOtherAway * std::sqrt(size);
}

/// Whether the middle and at least three corners of the candidate lie in the clearly larger other one.
bool isAround(const Candidate &other, const Candidate &candidate)
{
    if (area(other.corners) < kLargerRatio * area(candidate.corners)
        || !contains(other.corners, centreOf(candidate.corners)))
        return false;
    return std::count_if(candidate.corners.begin(), candidate.corners.end(),
                         [&](cv::Point2d corner) { return contains(other.corners, corner); })
        >= 3;
}

} // namespace

double rankOf(const Features &features)
{
    return kRankWeights(features.values());
}

double marginOf(const Candidate &candidate, const std::vector<Candidate> &all)
{
    double lead = kMaxLead;
    for (const Candidate &other : all) {
        if (candidate.rank - other.rank < lead && isRival(other, candidate))
            lead = candidate.rank - other.rank;
    }
    return std::max(0.0, lead);
}

double marginOverLarger(const Candidate &candidate, const std::vector<Candidate> &all)
{
    double lead = kMaxLead;
    for (const Candidate &other : all) {
        if (candidate.rank - other.rank < lead && isAround(other, candidate))
            lead = candidate.rank - other.rank;
    }
    return std::max(-kMaxLead, lead);
}

bool isPartOfAPage(const Candidate &candidate, const Surroundings &surroundings)
{
    const bool onWrittenPaper = surroundings.inkedSides >= kWrittenSides
        && surroundings.evenness > kMostlyLight && surroundings.meanInk > kSomeInk;
    const bool isLikeAround = surroundings.meanLikeness > kMostlyLike;
    const bool isFlush = candidate.features[Feature::MeanStep] < std::log1p(kFlushStep);
    return onWrittenPaper || ((isLikeAround || isFlush) && surroundings.meanInk > kMuchInk);
}

bool isOnBareDesk(const Surroundings &surroundings)
{
    return surroundings.ink < kNoInk && surroundings.mostLikeness < kNoLikeness;
}

bool isOnDarkDesk(const Candidate &candidate, const Evidence &evidence)
{
    const Surroundings &surroundings = evidence.surroundings;
    const double mostInk = evidence.refined.leastAgreement() > kSureSides ? kMarks : kStraySpecks;
    return candidate.features[Feature::Lighter] > kLighter && surroundings.lightness < kDarkDesk
        && surroundings.evenness < kNothingLight && surroundings.mostLikeness < kUnlikeDesk
        && surroundings.mostInk < mostInk
        && candidate.features[Feature::Area] > std::log(kMinShareOfFrame);
}

double confidenceOf(const Candidate &candidate, const Evidence &evidence)
{
    std::array<double, kConfidenceInputs> inputs{};
    const auto &features = candidate.features.values();
    auto next = std::copy(features.begin(), features.end(), inputs.begin());
    for (const double value : {candidate.rank, evidence.lead, evidence.refined.leastAgreement(),
                               evidence.refined.meanAgreement(), evidence.fromWriting ? 1.0 : 0.0,
                               evidence.leadOverLarger})
        *next++ = value;
    const auto surroundings = evidence.surroundings.values();
    std::copy(surroundings.begin(), surroundings.end(), next);
    return kConfidenceWeights(inputs);
}

} // namespace korv::crop
