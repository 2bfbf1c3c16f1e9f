#pragma once

#include "library/crop/edges/colour_spread.h"
#include "library/crop/outlines/quad_finder.h"

#include <array>
#include <cstddef>

namespace korv::crop {

/// What is known of a quadrilateral, in numbers that mean the same for every size and light.
/// "Rim" is the strip along a side, inside or outside of it.
enum class Feature : std::size_t {
    MeanSupport, ///< share of the sides that lies on edges
    LeastSupport,
    MeanEndSupport, ///< the same next to the corners
    LeastEndSupport,
    MeanBeyondSupport, ///< edges that go on behind the corners
    MostBeyondSupport,
    MeanSteadiness, ///< of the step across, along each side
    LeastSteadiness,
    MeanStep, ///< logarithm of the step across
    LeastStep,
    RimAgreement, ///< how far the steps across all four sides are the same
    InnerDifference, ///< between the inner rims' colours, in steps across
    InnerSpread, ///< along the inner rims, in steps across
    OuterSpread,
    Area, ///< logarithm of the share of the frame
    Skewness, ///< mean cosine at the corners
    Taper, ///< largest logarithm of the ratio of opposite sides
    Lighter, ///< inside than outside, limited to -1 to 1
    Lightness,
    Slenderness, ///< logarithm of the longer side by the shorter
    InnerTexture, ///< share of the inside that is near edges
    OuterTexture,
    Squareness, ///< product: evidence that all four sides agree, at once
    OuterDifference, ///< between the outer rims' colours, in steps across
    InnerReach, ///< how far the inner rims' colours are scattered over the picture
    OuterReach,
    LeastOuterReach, ///< of the side where it is least
    InnerWriting, ///< share of the inside that is thin and dark
    OuterWriting, ///< the same just outside
    FartherWriting, ///< and beyond that
    Count
};

constexpr auto kFeatureCount = static_cast<std::size_t>(Feature::Count);

class Features
{
public:
    double &operator[](Feature feature) { return m_values[static_cast<std::size_t>(feature)]; }
    double operator[](Feature feature) const { return m_values[static_cast<std::size_t>(feature)]; }
    const std::array<double, kFeatureCount> &values() const { return m_values; }

private:
    std::array<double, kFeatureCount> m_values{};
};

/// What of the picture the features are taken from.
struct FeatureContext
{
    const EdgeMap &map; ///< of the edges from which the quadrilaterals were made
    const ColourSpread &reach;
    const cv::Mat &writing; ///< see SearchPicture
};

Features featuresOf(const Quad &quad, const FeatureContext &surroundings);

} // namespace korv::crop
