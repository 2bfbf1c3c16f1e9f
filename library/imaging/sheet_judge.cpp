#include "library/imaging/sheet_judge.h"

#include <array>

namespace korv::crop {

namespace {

struct Weight
{
    Feature feature;
    double rank;
    double trust;
};

// Fitted on rendered desks of which the outline is known; docs/crop.md tells how. Rank by the odds
// of the right outline among all of its picture, trust by the odds that the best one is right.
constexpr std::array<Weight, kFeatureCount> kWeights = {{
    {Feature::MeanSupport, 4.024, 6.274},
    {Feature::LeastSupport, 2.535, -1.935},
    {Feature::MeanEndSupport, 2.957, -6.105},
    {Feature::LeastEndSupport, 1.513, 2.028},
    {Feature::MeanBeyondSupport, -1.790, -6.691},
    {Feature::MostBeyondSupport, -4.560, -1.417},
    {Feature::MeanSteadiness, -0.416, 1.992},
    {Feature::LeastSteadiness, -0.378, -1.288},
    {Feature::MeanStep, 0.420, 0.344},
    {Feature::LeastStep, 1.127, 0.280},
    {Feature::RimAgreement, -0.203, 2.873},
    {Feature::InnerDifference, 0.990, 2.233},
    {Feature::InnerSpread, 1.145, 0.820},
    {Feature::OuterSpread, -0.985, -4.014},
    {Feature::Area, 1.412, 2.289},
    {Feature::Skewness, -3.304, -7.043},
    {Feature::Taper, -1.175, 3.266},
    {Feature::Lighter, 1.328, 0.200},
    {Feature::Lightness, 0.835, 2.060},
    {Feature::Slenderness, -0.114, 0.571},
    {Feature::InnerTexture, 1.626, 2.502},
    {Feature::OuterTexture, 1.011, 0.700},
    {Feature::Squareness, 3.791, -1.723},
}};

constexpr double kTrustInRank = 0.209;
constexpr double kTrustInAgreement = -3.947;
constexpr double kTrustInMeanAgreement = 9.989;
constexpr double kTrustOffset = -8.079;

} // namespace

double rankOf(const Features &features)
{
    double sum = 0;
    for (const Weight &weight : kWeights)
        sum += weight.rank * features[weight.feature];
    return sum;
}

double trustIn(const Features &features, const Refined &refined)
{
    double sum = kTrustOffset + kTrustInRank * rankOf(features)
        + kTrustInAgreement * refined.agreement + kTrustInMeanAgreement * refined.meanAgreement;
    for (const Weight &weight : kWeights)
        sum += weight.trust * features[weight.feature];
    return sum;
}

} // namespace korv::crop
