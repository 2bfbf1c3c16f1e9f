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

bool isRival(const Candidate &other, const Candidate &candidate)
{
    const double size = area(candidate.corners);
    const double otherSize = area(other.corners);
    const double ratio = std::max(size, otherSize) / std::max(1.0, std::min(size, otherSize));
    const double away = length(centreOf(other.corners) - centreOf(candidate.corners));
    return ratio > kOtherRatio || away > kOtherAway * std::sqrt(size);
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

double confidenceOf(const Candidate &candidate, const Evidence &evidence)
{
    std::array<double, kConfidenceInputs> inputs{};
    const auto &features = candidate.features.values();
    auto next = std::copy(features.begin(), features.end(), inputs.begin());
    for (const double value : {candidate.rank, evidence.lead, evidence.refined.agreement,
                               evidence.refined.meanAgreement, evidence.fromWriting ? 1.0 : 0.0})
        *next++ = value;
    return kConfidenceWeights(inputs);
}

} // namespace korv::crop
