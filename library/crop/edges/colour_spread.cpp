// In: the planes of the search picture. Out: for each colour, how far its pixels are scattered: the
// standard deviation of their places, in frame diagonals, so that it means the same for every size.
//
// Colours are counted in bins of 16 levels of luma and 8 of each colour difference: paper under
// uneven light changes its luma much and its colour little. Every second pixel of every second row
// is enough: a bin that matters has hundreds.

#include "library/crop/edges/colour_spread.h"

#include <cmath>

namespace korv::crop {

namespace {

constexpr int kLumaShift = 4; ///< light falls off towards the corners: coarser than colour
constexpr int kChromaShift = 3;
constexpr std::size_t kLumaBins = 256 >> kLumaShift;
constexpr std::size_t kChromaBins = 256 >> kChromaShift;
constexpr int kStride = 2; ///< of the pixels that are counted

struct Sums
{
    float count = 0;
    float x = 0;
    float y = 0;
    float squares = 0;
};

} // namespace

ColourSpread::ColourSpread(const Planes &planes)
    : m_planes(planes)
    , m_reach(kLumaBins * kChromaBins * kChromaBins)
{
    std::vector<Sums> sums(m_reach.size());
    const cv::Size size = planes[0].size();
    const auto unit = static_cast<float>(1 / std::hypot(size.width, size.height));
    for (int row = 0; row < size.height; row += kStride) {
        for (int column = 0; column < size.width; column += kStride) {
            Sums &bin = sums[binOf({column, row})];
            const float x = static_cast<float>(column) * unit;
            const float y = static_cast<float>(row) * unit;
            bin.count += 1;
            bin.x += x;
            bin.y += y;
            bin.squares += x * x + y * y;
        }
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const Sums &bin = sums[i];
        if (bin.count < 1)
            continue;
        const float x = bin.x / bin.count;
        const float y = bin.y / bin.count;
        m_reach[i] = std::sqrt(std::max(0.0F, bin.squares / bin.count - x * x - y * y));
    }
}

std::size_t ColourSpread::binOf(cv::Point pixel) const
{
    const auto level = [&](std::size_t plane, int shift) {
        return static_cast<std::size_t>(m_planes[plane].at<std::uint8_t>(pixel) >> shift);
    };
    return (level(0, kLumaShift) * kChromaBins + level(1, kChromaShift)) * kChromaBins
        + level(2, kChromaShift);
}

} // namespace korv::crop
