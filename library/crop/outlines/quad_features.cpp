#include "library/crop/outlines/quad_features.h"

#include <algorithm>
#include <cmath>

namespace korv::crop {

namespace {

constexpr double kFaintStep = 6; ///< levels; keeps ratios to a step finite

void addSupport(const Quad &quad, Features &features)
{
    double mean = 0;
    double least = 1;
    double meanEnd = 0;
    double leastEnd = 1;
    double meanBeyond = 0;
    double mostBeyond = 0;
    for (const SideEvidence &side : quad.sides) {
        mean += side.support / 4;
        least = std::min(least, side.support);
        meanEnd += (side.startSupport + side.endSupport) / 8;
        leastEnd = std::min({leastEnd, side.startSupport, side.endSupport});
        meanBeyond += (side.beforeSupport + side.behindSupport) / 8;
        mostBeyond = std::max({mostBeyond, side.beforeSupport, side.behindSupport});
    }
    features[Feature::MeanSupport] = mean;
    features[Feature::LeastSupport] = least;
    features[Feature::MeanEndSupport] = meanEnd;
    features[Feature::LeastEndSupport] = leastEnd;
    features[Feature::MeanBeyondSupport] = meanBeyond;
    features[Feature::MostBeyondSupport] = mostBeyond;
}

void addSteps(const Quad &quad, Features &features)
{
    double steadiness = 0;
    double leastSteadiness = 1;
    double meanStep = 0;
    double leastStep = 1e9;
    for (const SideEvidence &side : quad.sides) {
        steadiness += side.steadiness / 4;
        leastSteadiness = std::min(leastSteadiness, side.steadiness);
        meanStep += std::log1p(side.step) / 4;
        leastStep = std::min(leastStep, std::log1p(side.step));
    }
    features[Feature::MeanSteadiness] = steadiness;
    features[Feature::LeastSteadiness] = leastSteadiness;
    features[Feature::MeanStep] = meanStep;
    features[Feature::LeastStep] = leastStep;
}

void addRims(const Quad &quad, Features &features)
{
    cv::Vec3d inner;
    cv::Vec3d outer;
    cv::Vec3d steps;
    double innerSquares = 0;
    double outerSquares = 0;
    double stepSquares = 0;
    double innerSpread = 0;
    double outerSpread = 0;
    double unit = kFaintStep;
    for (const SideEvidence &side : quad.sides) {
        const cv::Vec3d step = side.left - side.right;
        inner += side.left * 0.25;
        outer += side.right * 0.25;
        steps += step;
        innerSquares += side.left.dot(side.left) / 4;
        outerSquares += side.right.dot(side.right) / 4;
        stepSquares += step.dot(step);
        innerSpread += side.leftSpread / 4;
        outerSpread += side.rightSpread / 4;
        unit += side.step / 4;
    }
    const auto difference = [](double squares, const cv::Vec3d &mean) {
        return std::sqrt(std::max(0.0, squares - mean.dot(mean)));
    };
    features[Feature::RimAgreement] = steps.dot(steps) / std::max(1.0, 4 * stepSquares);
    features[Feature::InnerDifference] = std::min(3.0, difference(innerSquares, inner) / unit);
    features[Feature::OuterDifference] = std::min(3.0, difference(outerSquares, outer) / unit);
    features[Feature::InnerSpread] = std::min(3.0, innerSpread / unit);
    features[Feature::OuterSpread] = std::min(3.0, outerSpread / unit);
    features[Feature::Lighter] = std::clamp((inner[0] - outer[0]) / 40, -1.0, 1.0);
    features[Feature::Lightness] = inner[0] / 255;
}

void addShape(const Quad &quad, cv::Size frame, Features &features)
{
    std::array<cv::Point2d, 4> sides;
    std::array<double, 4> lengths{};
    for (std::size_t i = 0; i < 4; ++i) {
        sides[i] = quad.corners[(i + 1) % 4] - quad.corners[i];
        lengths[i] = length(sides[i]);
    }
    double skewness = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t next = (i + 1) % 4;
        skewness += std::abs(sides[i].dot(sides[next])) / (lengths[i] * lengths[next]) / 4;
    }
    features[Feature::Area] = std::log(area(quad.corners) / frame.area());
    features[Feature::Skewness] = skewness;
    features[Feature::Taper] = std::max(std::abs(std::log(lengths[0] / lengths[2])),
                                        std::abs(std::log(lengths[1] / lengths[3])));
    features[Feature::Slenderness] =
        std::abs(std::log((lengths[0] + lengths[2]) / (lengths[1] + lengths[3])));
}

/// How far the colours beside the sides are scattered over the picture.
void addReach(const Quad &quad, const ColourSpread &reach, cv::Size frame, Features &features)
{
    constexpr int kSidePlaces = 10; ///< along a side
    constexpr double kAway = 6; ///< pixels from it
    const cv::Rect within(cv::Point(), frame);
    const cv::Point2d centre = centreOf(quad.corners);
    double innerSum = 0;
    double outerSum = 0;
    double leastOuter = 1;
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2d from = quad.corners[i];
        const cv::Point2d to = quad.corners[(i + 1) % 4];
        const Line line = lineThrough(from, to);
        const cv::Point2d inwards = line.normalAwayFrom(centre) * -kAway;
        double inner = 0;
        double outer = 0;
        int count = 0;
        for (int k = 0; k < kSidePlaces; ++k) {
            const cv::Point2d place = from + (to - from) * ((k + 0.5) / kSidePlaces);
            const cv::Point inside = nearestPixel(place + inwards);
            const cv::Point outside = nearestPixel(place - inwards);
            if (!within.contains(inside) || !within.contains(outside))
                continue;
            inner += reach.at(inside);
            outer += reach.at(outside);
            ++count;
        }
        const double share = 1.0 / std::max(1, count);
        innerSum += inner * share / 4;
        outerSum += outer * share / 4;
        leastOuter = std::min(leastOuter, outer * share);
    }
    features[Feature::InnerReach] = innerSum;
    features[Feature::OuterReach] = outerSum;
    features[Feature::LeastOuterReach] = leastOuter;
}

/// Edges and writing in a ring of a quadrilateral's grid.
struct Texture
{
    int places = 0;
    int edges = 0;
    int writing = 0;

    double edgeShare() const { return 1.0 * edges / std::max(1, places); }
    double writingShare() const { return writing / 255.0 / std::max(1, places); }
};

void addTexture(const Quad &quad, const FeatureContext &surroundings, Features &features)
{
    constexpr int kGrid = 9;
    constexpr int kRings = 2; ///< of the grid that lie outside
    std::array<Texture, kRings + 1> rings; ///< inside, just outside, farther
    const cv::Rect within(cv::Point(), surroundings.map.size());
    const Corners &c = quad.corners;
    for (int i = -kRings; i < kGrid + kRings; ++i) {
        for (int k = -kRings; k < kGrid + kRings; ++k) {
            const double u = (i + 0.5) / kGrid;
            const double v = (k + 0.5) / kGrid;
            const cv::Point at = nearestPixel(c[0] * ((1 - u) * (1 - v)) + c[1] * (u * (1 - v))
                                              + c[2] * (u * v) + c[3] * ((1 - u) * v));
            if (!within.contains(at))
                continue;
            const int ring = std::max({0, -i, -k, i - kGrid + 1, k - kGrid + 1});
            Texture &texture = rings[static_cast<std::size_t>(ring)];
            ++texture.places;
            texture.edges += surroundings.map.hasAny(at.x, at.y) ? 1 : 0;
            texture.writing += surroundings.writing.at<std::uint8_t>(at);
        }
    }
    features[Feature::InnerTexture] = rings[0].edgeShare();
    features[Feature::OuterTexture] = rings[1].edgeShare();
    features[Feature::InnerWriting] = rings[0].writingShare();
    features[Feature::OuterWriting] = rings[1].writingShare();
    features[Feature::FartherWriting] = rings[2].writingShare();
}

} // namespace

Features featuresOf(const Quad &quad, const FeatureContext &surroundings)
{
    Features features;
    addSupport(quad, features);
    addSteps(quad, features);
    addRims(quad, features);
    addShape(quad, surroundings.map.size(), features);
    addReach(quad, surroundings.reach, surroundings.map.size(), features);
    addTexture(quad, surroundings, features);
    features[Feature::Squareness] = features[Feature::MeanSupport]
        * features[Feature::MeanSteadiness] * features[Feature::RimAgreement]
        * (1 - features[Feature::MeanBeyondSupport]);
    return features;
}

} // namespace korv::crop
