#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korv {

/// Tells what lies where the levels of a photograph do not: which quarters of a pixel are ink, from the
/// levels around it. A network of one hidden layer of rectified linear units, in whole numbers.
class StrokeNetwork
{
public:
    /// Pixels from the middle to the farthest ones that are looked at, to the sides, up and down.
    static constexpr int kReach = 3;

    /// Levels around a pixel are shares of the depth of the ink: paper, and what is darker than paper by
    /// that depth.
    static constexpr int kPaper = 64;
    static constexpr int kInk = kPaper + 128;

    /// Pixels that are worked on together.
    static constexpr int kPixels = 8;

    /// Quarters of a pixel: upper left, upper right, lower left, lower right.
    static constexpr int kQuarters = 4;

    /// What the network gets for a pixel, with values from 0 to 255.
    struct Place
    {
        const std::uint8_t *levels =
            nullptr; ///< the pixel's, with kReach others around it, and one more to the right
        int depth = 0; ///< of the ink, 255 for black
        int noise = 0; ///< deviation of the paper, 255 for half of that depth
    };

    using Quarters = std::array<std::int32_t, kQuarters>;

    /// `stride` is from one row of the levels to the next.
    explicit StrokeNetwork(std::ptrdiff_t stride);

    /// How sure it is that a quarter is ink, in 1 / kSure: the logarithm of the odds.
    std::array<Quarters, kPixels> operator()(const std::array<Place, kPixels> &places) const;

    static constexpr std::int32_t kSure = 1 << 18;

private:
    std::ptrdiff_t m_stride;
    std::vector<std::int16_t> m_hidden; ///< weights, each pair for every pixel
    std::vector<std::int16_t> m_output;
};

} // namespace korv
