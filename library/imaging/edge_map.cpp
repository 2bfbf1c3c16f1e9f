#include "library/imaging/edge_map.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kNeighbourhood = 41;
constexpr int kAboveNeighbourhood = 5; ///< in quarters of the neighbourhood's mean
constexpr int kFaintest = 5; ///< half of a Sobel response: a step of about three levels
constexpr float kHeaviest = 3;
constexpr int kChromaGain = 2; ///< half as noisy as luma and seldom disturbed by shadows
constexpr double kDirectionDegrees = 180.0 / kDirections;
constexpr double kDoubt = 0.8 * kDirectionDegrees; ///< in an edge's own direction

/// Whether the strength has its ridge here, looking along the change.
bool isRidge(const cv::Mat &strength, int x, int y, int changeX, int changeY)
{
    const int ax = std::abs(changeX);
    const int ay = std::abs(changeY);
    const int dx = ax * 2 > ay ? 1 : 0;
    int dy = dx == 0 ? 1 : 0;
    if (dx != 0 && ay * 2 > ax)
        dy = (changeX >= 0) == (changeY >= 0) ? 1 : -1;
    const int here = strength.at<std::int16_t>(y, x);
    return here >= strength.at<std::int16_t>(y + dy, x + dx)
        && here > strength.at<std::int16_t>(y - dy, x - dx);
}

/// Bits of all directions that an edge of so many whole degrees may belong to.
std::array<std::uint16_t, 181> bitsOfDegrees()
{
    std::array<std::uint16_t, 181> bits{};
    for (std::size_t i = 0; i < bits.size(); ++i) {
        for (const double doubt : {-kDoubt, 0.0, kDoubt}) {
            bits[i] = static_cast<std::uint16_t>(
                bits[i] | EdgeMap::directionBit((static_cast<double>(i) + doubt) * CV_PI / 180));
        }
    }
    return bits;
}

} // namespace

EdgeFinder::EdgeFinder(const SearchPicture &picture)
    : m_picture(picture)
    , m_chroma(gradientOf(picture.closed[1], kChromaGain))
{
    keepLarger(m_chroma, gradientOf(picture.closed[2], kChromaGain));
}

std::vector<Edge> EdgeFinder::closed() const
{
    return withLuma(m_picture.closed[0]);
}

std::vector<Edge> EdgeFinder::plain() const
{
    return withLuma(m_picture.plainLuma);
}

EdgeFinder::Gradient EdgeFinder::gradientOf(const cv::Mat &plane, int gain)
{
    Gradient gradient;
    cv::spatialGradient(plane, gradient.x, gradient.y, 3, cv::BORDER_REPLICATE);
    gradient.strength.create(plane.size(), CV_16SC1);
    for (int row = 0; row < plane.rows; ++row) {
        const auto *x = gradient.x.ptr<std::int16_t>(row);
        const auto *y = gradient.y.ptr<std::int16_t>(row);
        auto *strength = gradient.strength.ptr<std::int16_t>(row);
        for (int i = 0; i < plane.cols; ++i) {
            // long side plus 3/8 of the short one is the length to 7 %, and needs no root
            const int a = std::abs(x[i]);
            const int b = std::abs(y[i]);
            const int twice = gain * (std::max(a, b) + (3 * std::min(a, b) >> 3));
            strength[i] = static_cast<std::int16_t>(std::min(twice >> 1, 255));
        }
    }
    return gradient;
}

void EdgeFinder::keepLarger(Gradient &gradient, const Gradient &other)
{
    for (int row = 0; row < gradient.x.rows; ++row) {
        auto *x = gradient.x.ptr<std::int16_t>(row);
        auto *y = gradient.y.ptr<std::int16_t>(row);
        auto *strength = gradient.strength.ptr<std::int16_t>(row);
        const auto *otherX = other.x.ptr<std::int16_t>(row);
        const auto *otherY = other.y.ptr<std::int16_t>(row);
        const auto *otherStrength = other.strength.ptr<std::int16_t>(row);
        for (int i = 0; i < gradient.x.cols; ++i) {
            const bool larger = otherStrength[i] > strength[i];
            x[i] = larger ? otherX[i] : x[i];
            y[i] = larger ? otherY[i] : y[i];
            strength[i] = larger ? otherStrength[i] : strength[i];
        }
    }
}

std::vector<Edge> EdgeFinder::withLuma(const cv::Mat &luma) const
{
    Gradient gradient = gradientOf(luma, 1);
    keepLarger(gradient, m_chroma);
    cv::Mat around;
    cv::boxFilter(gradient.strength, around, -1, cv::Size(kNeighbourhood, kNeighbourhood));
    std::vector<Edge> edges;
    edges.reserve(luma.total() / 8);
    for (int y = 1; y + 1 < luma.rows; ++y) {
        const auto *strength = gradient.strength.ptr<std::int16_t>(y);
        const auto *mean = around.ptr<std::int16_t>(y);
        const auto *changeX = gradient.x.ptr<std::int16_t>(y);
        const auto *changeY = gradient.y.ptr<std::int16_t>(y);
        for (int x = 1; x + 1 < luma.cols; ++x) {
            if (strength[x] < kFaintest || 4 * strength[x] < kAboveNeighbourhood * mean[x]
                || !isRidge(gradient.strength, x, y, changeX[x], changeY[x]))
                continue;
            float degrees = cv::fastAtan2(changeY[x], changeX[x]);
            if (degrees >= 180)
                degrees -= 180;
            const float limit = std::max(static_cast<float>(kAboveNeighbourhood * mean[x]) / 4,
                                         static_cast<float>(kFaintest));
            const float weight = std::min(static_cast<float>(strength[x]) / limit, kHeaviest);
            edges.push_back(
                {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), degrees, weight});
        }
    }
    return edges;
}

EdgeMap::EdgeMap(cv::Size size)
    : m_directions(cv::Mat::zeros(size, CV_16UC1))
    , m_steps(size, CV_8UC2, cv::Scalar(kZeroStep, kZeroStep))
{
}

std::uint16_t EdgeMap::directionBit(double angle)
{
    const int index = static_cast<int>(std::floor(angle / CV_PI * kDirections)) % kDirections;
    return static_cast<std::uint16_t>(1U << ((index + kDirections) % kDirections));
}

void EdgeMap::add(const std::vector<Edge> &edges)
{
    static const std::array<std::uint16_t, 181> kBits = bitsOfDegrees();
    for (const Edge &edge : edges) {
        const std::uint16_t bits = kBits[static_cast<std::size_t>(edge.degrees)];
        for (int y = edge.y - 1; y <= edge.y + 1; ++y) {
            auto *directions = m_directions.ptr<std::uint16_t>(y) + edge.x - 1;
            auto *steps = m_steps.ptr<cv::Vec2b>(y) + edge.x - 1;
            for (int i = 0; i < 3; ++i) {
                directions[i] = static_cast<std::uint16_t>(directions[i] | bits);
                steps[i] = {static_cast<std::uint8_t>(kZeroStep + 1 - i),
                            static_cast<std::uint8_t>(kZeroStep + edge.y - y)};
            }
        }
    }
    for (const Edge &edge : edges) // nearer edges win
        m_steps.at<cv::Vec2b>(edge.y, edge.x) = {kZeroStep, kZeroStep};
}

} // namespace korv::crop
