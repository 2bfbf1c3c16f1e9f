#include "library/clean/gain_rows.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core/hal/intrin.hpp>

namespace korv::clean {

namespace {

constexpr int kOne = 1 << 16; ///< of a mixing weight
constexpr int kRoundingBits = 4; ///< upper half of (256 levels) x (gains): that many bits too many
constexpr int kRounding = 1 << (kRoundingBits - 1);

/// Of the middle of a pixel.
GainRows::Place placeOf(int at, int cell, int count)
{
    const double place = std::clamp((at + 0.5) / cell - 0.5, 0.0, count - 1.0);
    const int first = std::min(static_cast<int>(place), std::max(0, count - 2));
    const auto weight = static_cast<int>(std::lround((place - first) * kOne));
    return {first, std::min(weight, kOne - 1)};
}

/// The upper half of a product of two 16-bit numbers.
std::uint32_t upperHalf(std::uint32_t a, std::uint32_t b)
{
    return (a * b) >> 16;
}

std::uint8_t product(std::uint32_t level, std::uint32_t gain)
{
    const std::uint32_t value = (upperHalf(level << 8, gain) + kRounding) >> kRoundingBits;
    return static_cast<std::uint8_t>(std::min<std::uint32_t>(value, 255));
}

/// One row of the map with as many samples as the picture's rows. `step` leads to the pixel on the
/// right.
template <int kChannels>
void stretch(const std::uint16_t *from, int step, const std::vector<GainRows::Place> &columns,
             std::uint16_t *out)
{
    for (const GainRows::Place &place : columns) {
        const std::uint16_t *left = from + place.first * kChannels;
        // with half the weight's precision the product fits 32 bits
        const int weight = place.weight >> 1;
        for (int i = 0; i < kChannels; ++i) {
            const int change = left[i + step] - left[i];
            *out++ = static_cast<std::uint16_t>(left[i] + ((change * weight) >> 15));
        }
    }
}

} // namespace

GainRows::GainRows(const cv::Mat &gains, int cell, int width)
    : m_gains(gains)
    , m_cell(cell)
    , m_samples(width * gains.channels())
{
    m_columns.reserve(static_cast<std::size_t>(width));
    for (int x = 0; x < width; ++x)
        m_columns.push_back(placeOf(x, cell, gains.cols));
}

const std::vector<std::uint16_t> &GainRows::stretched(int mapRow)
{
    Stretched &result = m_rows[mapRow % 2];
    if (result.row == mapRow)
        return result.gains;
    const int channels = m_gains.channels();
    const auto *from = m_gains.ptr<std::uint16_t>(mapRow);
    const int step = m_gains.cols > 1 ? channels : 0;
    result.gains.resize(static_cast<std::size_t>(m_samples));
    if (channels == 3)
        stretch<3>(from, step, m_columns, result.gains.data());
    else
        stretch<1>(from, step, m_columns, result.gains.data());
    result.row = mapRow;
    return result.gains;
}

void GainRows::apply(std::uint8_t *row, int y)
{
    const Place place = placeOf(y, m_cell, m_gains.rows);
    const std::uint16_t *upper = stretched(place.first).data();
    const std::uint16_t *lower = stretched(std::min(place.first + 1, m_gains.rows - 1)).data();
    const int below = place.weight;
    const int above = kOne - 1 - below;
    int at = 0;
#if CV_SIMD128
    const cv::v_uint16x8 vAbove = cv::v_setall_u16(static_cast<std::uint16_t>(above));
    const cv::v_uint16x8 vBelow = cv::v_setall_u16(static_cast<std::uint16_t>(below));
    const cv::v_uint16x8 rounding = cv::v_setall_u16(kRounding);
    const auto half = [&](const cv::v_uint16x8 &levels, int from) {
        const cv::v_uint16x8 gain = cv::v_mul_hi(cv::v_load(upper + from), vAbove)
            + cv::v_mul_hi(cv::v_load(lower + from), vBelow);
        return (cv::v_mul_hi(levels << 8, gain) + rounding) >> kRoundingBits;
    };
    for (; at + 16 <= m_samples; at += 16) {
        cv::v_uint16x8 low;
        cv::v_uint16x8 high;
        cv::v_expand(cv::v_load(row + at), low, high);
        cv::v_store(row + at, cv::v_pack(half(low, at), half(high, at + 8)));
    }
#endif
    for (; at < m_samples; ++at) {
        const std::uint32_t gain = upperHalf(upper[at], static_cast<std::uint32_t>(above))
            + upperHalf(lower[at], static_cast<std::uint32_t>(below));
        row[at] = product(row[at], gain);
    }
}

} // namespace korv::clean
