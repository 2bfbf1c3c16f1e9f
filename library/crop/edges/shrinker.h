#pragma once

#include "library/image/image.h"

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

namespace korv::crop {

/// Makes a picture smaller: every pixel becomes the mean of a block of at most 4 x 4. Faster than
/// means over exact areas, and as good for finding edges. For one thread; the picture must outlive
/// it.
class Shrinker
{
public:
    /// `size` is the whole small picture's, `scale` its pixels for one of the picture.
    Shrinker(const Image &image, cv::Size size, double scale);

    /// Makes `count` rows of the small picture from `first` on, of as many channels as the picture
    /// has. Valid until the next call.
    cv::Mat rows(int first, int count);

private:
    /// Where the picture's pixels lie that a small pixel is the mean of.
    struct Blocks
    {
        int count; ///< of each
        std::vector<int> starts;

        Blocks(int full, int small, double scale);
    };

    template <int kCount> void mixRow(int firstRow, std::uint8_t *out);
    template <int kCount> void sumRows(int firstRow);
    template <int kCount> void mixGray(std::uint8_t *out) const;
    template <int kCount> void mixColour(std::uint8_t *out) const;

    const Image &m_image;
    Blocks m_columns;
    Blocks m_rows;
    std::vector<std::uint16_t> m_sums; ///< over the rows of a block; some more than the picture has
    cv::Mat m_strip;
};

} // namespace korv::crop
