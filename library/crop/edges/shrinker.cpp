// In: the decoded photograph, RGB or gray. Out: rows of it at a given scale, each pixel the mean of
// a block of 1 to 4 by 1 to 4 pixels around the place that it stands for; blocks may leave gaps.
//
// Four pixels across suffice: the mean of 16 has a quarter of the sensor's noise. A sum of 16 bytes
// also fits into 16 bits with room to spare, which is what the lanes hold.

#include "library/crop/edges/shrinker.h"

#include "library/crop/edges/colour_lanes.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core/hal/intrin.hpp>

namespace korv::crop {

namespace {

constexpr int kMaxSamples = 4; ///< pixels across that make a small one: enough against noise
constexpr std::size_t kSumLanes = 8;

/// Rounded quotient by the number of pixels in a block.
template <int kParts> cv::v_uint16x8 mean(const cv::v_uint16x8 &sum)
{
    const cv::v_uint16x8 rounded = sum + cv::v_setall_u16(kParts / 2);
    switch (kParts) {
    case 1:
        return sum;
    case 4:
        return rounded >> 2;
    case 9:
        return cv::v_mul_hi(rounded, cv::v_setall_u16(65536 / 9 + 1)); // exact up to 32,767
    default:
        static_assert(kParts == 1 || kParts == 4 || kParts == 9 || kParts == 16);
        return rounded >> 4;
    }
}

} // namespace

Shrinker::Blocks::Blocks(int full, int small, double scale)
    : count(std::clamp(static_cast<int>(1 / scale), 1, kMaxSamples))
{
    starts.reserve(static_cast<std::size_t>(small));
    for (int i = 0; i < small; ++i) {
        const auto first = std::lround((i + 0.5) / scale - 0.5 * count);
        starts.push_back(std::clamp(static_cast<int>(first), 0, full - count));
    }
}

Shrinker::Shrinker(const Image &image, cv::Size size, double scale)
    : m_image(image)
    , m_columns(image.width(), size.width, scale)
    , m_rows(image.height(), size.height, scale)
    , m_sums(image.stride() + kSumLanes)
{
}

cv::Mat Shrinker::rows(int first, int count)
{
    // a row more: mixColour() writes a byte too many
    m_strip.create(count + 1, static_cast<int>(m_columns.starts.size()),
                   CV_8UC(m_image.channels()));
    for (int y = 0; y < count; ++y) {
        const int from = m_rows.starts[static_cast<std::size_t>(first + y)];
        auto *out = m_strip.ptr<std::uint8_t>(y);
        // constants, so that the loops are unrolled
        switch (m_columns.count) {
        case 1:
            mixRow<1>(from, out);
            break;
        case 2:
            mixRow<2>(from, out);
            break;
        case 3:
            mixRow<3>(from, out);
            break;
        default:
            mixRow<kMaxSamples>(from, out);
        }
    }
    return m_strip.rowRange(0, count);
}

template <int kCount> void Shrinker::mixRow(int firstRow, std::uint8_t *out)
{
    sumRows<kCount>(firstRow);
    if (m_image.channels() == 1)
        mixGray<kCount>(out);
    else
        mixColour<kCount>(out);
}

template <int kCount> void Shrinker::sumRows(int firstRow)
{
    const std::size_t stride = m_image.stride();
    const std::uint8_t *rows = m_image.row(firstRow);
    std::uint16_t *sums = m_sums.data();
    std::size_t i = 0;
    for (; i + kSumLanes <= stride; i += kSumLanes) {
        cv::v_uint16x8 sum = cv::v_load_expand(rows + i);
        for (std::size_t k = 1; k < kCount; ++k)
            sum += cv::v_load_expand(rows + i + k * stride);
        cv::v_store(sums + i, sum);
    }
    for (; i < stride; ++i) {
        unsigned int sum = 0;
        for (std::size_t k = 0; k < kCount; ++k)
            sum += rows[i + k * stride];
        sums[i] = static_cast<std::uint16_t>(sum);
    }
}

template <int kCount> void Shrinker::mixGray(std::uint8_t *out) const
{
    constexpr unsigned int kParts = kCount * kCount;
    for (const int start : m_columns.starts) {
        unsigned int sum = kParts / 2;
        for (int i = 0; i < kCount; ++i)
            sum += m_sums[static_cast<std::size_t>(start + i)];
        *out++ = static_cast<std::uint8_t>(sum / kParts);
    }
}

/// Three channels at once; writes a byte more than the row has.
template <int kCount> void Shrinker::mixColour(std::uint8_t *out) const
{
    for (const int start : m_columns.starts) {
        const std::uint16_t *from =
            m_sums.data() + std::size_t{3} * static_cast<std::size_t>(start);
        cv::v_uint16x8 sum = cv::v_setzero_u16();
        for (int i = 0; i < kCount; i += 2) {
            const cv::v_uint16x8 two = cv::v_load(from + std::ptrdiff_t{3} * i);
            sum += two;
            if (i + 1 < kCount)
                sum += cv::v_rotate_right<3>(two);
        }
        storePixel(mean<kCount * kCount>(sum), out);
        out += 3;
    }
}

} // namespace korv::crop
