#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

namespace korv::crop {

/// Directions are counted modulo half a turn, so that both sides of a sheet's rim are the same.
constexpr int kDirections = 16;

/// A pixel in which a colour changes more than it does around.
struct Edge
{
    std::int16_t x = 0;
    std::int16_t y = 0;
    float degrees = 0; ///< of the colour's change, across the edge; 0 to 180
    float weight = 0; ///< strength in multiples of the neighbourhood's, 1 to 3
};

/// For every pixel, which edges lie within one pixel. The picture's size is limited by that of
/// Edge.
class EdgeMap
{
public:
    explicit EdgeMap(cv::Size size);

    void add(const std::vector<Edge> &edges);

    cv::Size size() const { return m_directions.size(); }
    /// The bit of edges whose colour changes along this angle (in radians).
    static std::uint16_t directionBit(double angle);
    bool has(int x, int y, std::uint16_t bits) const
    {
        return (m_directions.at<std::uint16_t>(y, x) & bits) != 0;
    }
    bool hasAny(int x, int y) const { return has(x, y, 0xFFFF); }
    /// Step to the edge; zero when there is none within a pixel, see hasAny().
    cv::Point step(int x, int y) const
    {
        const auto &step = m_steps.at<cv::Vec2b>(y, x);
        return {step[0] - kZeroStep, step[1] - kZeroStep};
    }

private:
    static constexpr int kZeroStep = 8;

    cv::Mat m_directions; ///< CV_16UC1, a bit for each direction
    cv::Mat m_steps; ///< CV_8UC2, plus kZeroStep
};

} // namespace korv::crop
