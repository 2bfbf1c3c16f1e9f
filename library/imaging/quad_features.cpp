#include "library/imaging/quad_features.h"

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
        stepSquares += step.dot(step);
        innerSpread += side.leftSpread / 4;
        outerSpread += side.rightSpread / 4;
        unit += side.step / 4;
    }
    const double difference = std::sqrt(std::max(0.0, innerSquares - inner.dot(inner)));
    features[Feature::RimAgreement] = steps.dot(steps) / std::max(1.0, 4 * stepSquares);
    features[Feature::InnerDifference] = std::min(3.0, difference / unit);
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

bool isNearEdge(const EdgeMap &map, cv::Point2d point, int &seen)
{
    const cv::Point at(static_cast<int>(std::floor(point.x + 0.5)),
                       static_cast<int>(std::floor(point.y + 0.5)));
    if (!cv::Rect(cv::Point(), map.size()).contains(at))
        return false;
    ++seen;
    return map.hasAny(at.x, at.y);
}

void addTexture(const Quad &quad, const EdgeMap &map, Features &features)
{
    constexpr int kGrid = 9;
    int inner = 0;
    int innerEdges = 0;
    int outer = 0;
    int outerEdges = 0;
    const Corners &c = quad.corners;
    for (int i = -1; i < kGrid + 1; ++i) {
        for (int k = -1; k < kGrid + 1; ++k) {
            const double u = (i + 0.5) / kGrid;
            const double v = (k + 0.5) / kGrid;
            const cv::Point2d point = c[0] * ((1 - u) * (1 - v)) + c[1] * (u * (1 - v))
                + c[2] * (u * v) + c[3] * ((1 - u) * v);
            const bool isInner = i >= 0 && k >= 0 && i < kGrid && k < kGrid;
            if (isNearEdge(map, point, isInner ? inner : outer))
                ++(isInner ? innerEdges : outerEdges);
        }
    }
    features[Feature::InnerTexture] = 1.0 * innerEdges / std::max(1, inner);
    features[Feature::OuterTexture] = 1.0 * outerEdges / std::max(1, outer);
}

} // namespace

Features featuresOf(const Quad &quad, const EdgeMap &map)
{
    Features features;
    addSupport(quad, features);
    addSteps(quad, features);
    addRims(quad, features);
    addShape(quad, map.size(), features);
    addTexture(quad, map, features);
    features[Feature::Squareness] = features[Feature::MeanSupport]
        * features[Feature::MeanSteadiness] * features[Feature::RimAgreement]
        * (1 - features[Feature::MeanBeyondSupport]);
    return features;
}

} // namespace korv::crop
