#include "library/lineart/area_means.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

constexpr double kNothing = 1e-3; ///< a share of a pixel that does not count

/// What one pixel of the smaller picture covers in one direction: pixels from `first` up to `end`, and
/// shares of those beside them, which may be 0 and then outside of the picture.
struct Reach
{
    int first = 0;
    int end = 0;
    float before = 0; ///< share of the pixel at `first` - 1
    float after = 0; ///< of the pixel at `end`
    float length = 0;
};

float countingShare(double share)
{
    return share < kNothing ? 0.0F : static_cast<float>(share);
}

std::vector<Reach> reachesOf(int from, int to)
{
    const double scale = static_cast<double>(from) / to;
    std::vector<Reach> result;
    result.reserve(static_cast<std::size_t>(to));
    for (int i = 0; i < to; ++i) {
        const double start = i * scale;
        const double stop = std::min<double>(start + scale, from);
        Reach reach;
        reach.first = static_cast<int>(std::ceil(start - kNothing));
        reach.end = static_cast<int>(std::floor(stop + kNothing));
        reach.before = countingShare(reach.first - start);
        reach.after = countingShare(stop - reach.end);
        reach.length = static_cast<float>(stop - start);
        result.push_back(reach);
    }
    return result;
}

constexpr int kLanes = 8;

/// Eight numbers.
struct Floats
{
    cv::v_float32x4 low;
    cv::v_float32x4 high;
};

Floats inFloats(const cv::v_uint16x8 &numbers)
{
    cv::v_uint32x4 low;
    cv::v_uint32x4 high;
    cv::v_expand(numbers, low, high);
    return {cv::v_cvt_f32(cv::v_reinterpret_as_s32(low)),
            cv::v_cvt_f32(cv::v_reinterpret_as_s32(high))};
}

/// For every column the sum of what is within reach.
void sumUp(const cv::Mat &gray, const Reach &reach, std::vector<float> &sums)
{
    const auto *before = gray.ptr<std::uint8_t>(std::max(0, reach.first - 1));
    const auto *after = gray.ptr<std::uint8_t>(std::min(gray.rows - 1, reach.end));
    const cv::v_float32x4 shareBefore = cv::v_setall_f32(reach.before);
    const cv::v_float32x4 shareAfter = cv::v_setall_f32(reach.after);
    int x = 0;
    for (; x + kLanes <= gray.cols; x += kLanes) {
        cv::v_uint16x8 sum = cv::v_setzero_u16();
        for (int y = reach.first; y < reach.end; ++y)
            sum += cv::v_load_expand(gray.ptr<std::uint8_t>(y) + x);
        const Floats whole = inFloats(sum);
        const Floats above = inFloats(cv::v_load_expand(before + x));
        const Floats below = inFloats(cv::v_load_expand(after + x));
        float *out = sums.data() + x;
        cv::v_store(out, whole.low + above.low * shareBefore + below.low * shareAfter);
        cv::v_store(out + kLanes / 2,
                    whole.high + above.high * shareBefore + below.high * shareAfter);
    }
    for (; x < gray.cols; ++x) {
        int sum = 0;
        for (int y = reach.first; y < reach.end; ++y)
            sum += gray.at<std::uint8_t>(y, x);
        sums[static_cast<std::size_t>(x)] = static_cast<float>(sum)
            + static_cast<float>(before[x]) * reach.before
            + static_cast<float>(after[x]) * reach.after;
    }
}

float sumOf(const std::vector<float> &sums, const Reach &reach)
{
    float sum = 0;
    for (int x = reach.first; x < reach.end; ++x)
        sum += sums[static_cast<std::size_t>(x)];
    if (reach.before > 0)
        sum += sums[static_cast<std::size_t>(reach.first) - 1] * reach.before;
    if (reach.after > 0)
        sum += sums[static_cast<std::size_t>(reach.end)] * reach.after;
    return sum;
}

} // namespace

cv::Mat areaMeans(const cv::Mat &gray, const cv::Size &size)
{
    const std::vector<Reach> rows = reachesOf(gray.rows, size.height);
    const std::vector<Reach> columns = reachesOf(gray.cols, size.width);
    cv::Mat result(size, CV_8UC1);
    std::vector<float> sums(static_cast<std::size_t>(gray.cols));
    for (int y = 0; y < size.height; ++y) {
        const Reach &row = rows[static_cast<std::size_t>(y)];
        sumUp(gray, row, sums);
        std::uint8_t *out = result.ptr<std::uint8_t>(y);
        for (const Reach &column : columns)
            *out++ =
                cv::saturate_cast<std::uint8_t>(sumOf(sums, column) / (row.length * column.length));
    }
    return result;
}

} // namespace korv
