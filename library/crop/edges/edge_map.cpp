// In: edges, a search's or two searches' after each other. Out: for each pixel, at once, whether an
// edge of a given direction lies on it or beside it, and the step to it; lines are followed along
// this map instead of through lists.
//
// A direction is one of 16, as many as a 16-bit word has bits. An edge is entered in all directions
// within 9 degrees (kDoubt) of its own, since Sobel's direction is no surer than that on a faint
// edge a few pixels long.

#include "library/crop/edges/edge_map.h"

#include <array>
#include <cmath>

namespace korv::crop {

namespace {

constexpr double kDirectionDegrees = 180.0 / kDirections;
constexpr double kDoubt = 0.8 * kDirectionDegrees; ///< in an edge's own direction

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
