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
    {Feature::MeanSupport, 3.127, 6.302},
    {Feature::LeastSupport, 1.525, -2.115},
    {Feature::MeanEndSupport, 2.919, -0.710},
    {Feature::LeastEndSupport, 1.878, 0.336},
    {Feature::MeanBeyondSupport, -1.673, -9.508},
    {Feature::MostBeyondSupport, -4.173, -0.453},
    {Feature::MeanSteadiness, -0.340, 3.203},
    {Feature::LeastSteadiness, -0.228, -1.829},
    {Feature::MeanStep, 0.282, -0.005},
    {Feature::LeastStep, 0.838, 0.647},
    {Feature::RimAgreement, 0.315, 1.336},
    {Feature::InnerDifference, 1.160, 2.566},
    {Feature::InnerSpread, 0.990, 0.582},
    {Feature::OuterSpread, -0.941, -3.103},
    {Feature::Area, 1.401, 2.318},
    {Feature::Skewness, -2.486, -8.375},
    {Feature::Taper, -0.175, -4.587},
    {Feature::Lighter, 1.297, 0.191},
    {Feature::Lightness, 0.793, 1.549},
    {Feature::Slenderness, -0.268, 1.102},
    {Feature::InnerTexture, 3.147, 2.593},
    {Feature::OuterTexture, -0.010, 1.404},
    {Feature::Squareness, 3.474, -0.844},
}};

constexpr double kTrustInRank = 0.291;
constexpr double kTrustInAgreement = -0.132;
constexpr double kTrustInMeanAgreement = 4.168;
constexpr double kTrustOffset = -10.069;

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
