#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

namespace korv::clean {

/// Multiplies rows of a picture by a gain for every sample, which is interpolated from a coarse map of
/// gains whose pixels are squares of `cell` x `cell` of the picture's. One object is used by one
/// thread, and fastest for rows in their order.
class GainRows
{
public:
    /// `gains` (CV_16UC1 or CV_16UC3, in 1 / kGainOne) is borrowed. `width` is the picture's.
    GainRows(const cv::Mat &gains, int cell, int width);

    /// Row `y` of the picture, in place.
    void apply(std::uint8_t *row, int y);

    static constexpr int kGainBits = 12;
    static constexpr int kGainOne = 1 << kGainBits;
    static constexpr double kMaxGain = 15.9; ///< what 16 bits hold

    /// On the coarse map: between `first` and the pixel after it.
    struct Place
    {
        int first = 0;
        int weight = 0; ///< of the pixel after it, in 1 / 65536
    };

private:
    const std::vector<std::uint16_t> &stretched(int mapRow);

    /// One row of the map as wide as the picture.
    struct Stretched
    {
        int row = -1;
        std::vector<std::uint16_t> gains;
    };

    const cv::Mat &m_gains;
    int m_cell;
    int m_samples; ///< of a row
    std::vector<Place> m_columns; ///< of every pixel of a row
    Stretched m_rows[2]; ///< the even and the odd one
};

} // namespace korv::clean
