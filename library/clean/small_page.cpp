#include "library/clean/small_page.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr int kMaxSide = 820; ///< of the small picture

/// In pixels of the small picture, 0.36 mm each on an A4 sheet: covers strokes of headlines.
constexpr int kStrokeReach = 9;

constexpr int kBeyond = 4; ///< samples past a row that may be read and written

/// Sums of columns over some rows, `step` bytes apart: at most 256 of them, which 16 bits hold.
void sumColumns(const std::uint8_t *first, std::size_t step, int rows, std::uint16_t *sums,
                std::size_t count)
{
    constexpr std::size_t kLanes = 8;
    std::size_t x = 0;
    for (; x + kLanes <= count; x += kLanes) {
        cv::v_uint16x8 sum = cv::v_load_expand(first + x);
        const std::uint8_t *row = first + x;
        for (int y = 1; y < rows; ++y)
            sum += cv::v_load_expand(row += step);
        cv::v_store(sums + x, sum);
    }
    for (; x < count; ++x) {
        unsigned sum = 0;
        for (int y = 0; y < rows; ++y)
            sum += first[static_cast<std::size_t>(y) * step + x];
        sums[x] = static_cast<std::uint16_t>(sum);
    }
}

/// Means of `cell` pixels in a row each, of which the sums over `rows` rows are given.
void grayMeans(const std::uint16_t *sums, int cell, int rows, std::uint8_t *out, int count)
{
    const float share = 1.0F / static_cast<float>(cell * rows);
    for (int i = 0; i < count; ++i, sums += cell) {
        const int sum = std::accumulate(sums, sums + cell, 0);
        out[i] = cv::saturate_cast<std::uint8_t>(static_cast<float>(sum) * share);
    }
}

/// The same in three channels. Reads and writes up to kBeyond samples past the end.
void colourMeans(const std::uint16_t *sums, int cell, int rows, std::uint8_t *out, int count)
{
    const cv::v_float32x4 share = cv::v_setall_f32(1.0F / static_cast<float>(cell * rows));
    for (int i = 0; i < count; ++i, out += 3) {
        cv::v_uint32x4 sum = cv::v_setzero_u32();
        for (int x = 0; x < cell; ++x, sums += 3)
            sum += cv::v_load_expand(sums);
        const cv::v_int32x4 mean =
            cv::v_round(cv::v_cvt_f32(cv::v_reinterpret_as_s32(sum)) * share);
        const cv::v_int16x8 narrow = cv::v_pack(mean, mean);
        const std::uint32_t levels = cv::v_reinterpret_as_u32(cv::v_pack_u(narrow, narrow)).get0();
        std::memcpy(out, &levels, sizeof levels);
    }
}

} // namespace

int smallCell(const cv::Size &picture)
{
    return (std::max(picture.width, picture.height) + kMaxSide - 1) / kMaxSide;
}

cv::Mat shrunk(const cv::Mat &picture, int cell, HelperThread &core)
{
    if (cell == 1)
        return picture.clone();
    cv::Mat result(std::max(1, picture.rows / cell), std::max(1, picture.cols / cell),
                   picture.type());
    // of a strip, there is only a part of a square
    const int width = std::min(cell, picture.cols);
    const int height = std::min(cell, picture.rows);
    const int skip = height % 2 == 0 ? 2 : 1; // every second row will do, in half the time
    const int rows = height / skip;
    const std::size_t samples = static_cast<std::size_t>(result.cols * width)
        * static_cast<std::size_t>(picture.channels());
    core.shareRange(0, result.rows, [&](int first, int end) {
        std::vector<std::uint16_t> sums(samples + kBeyond);
        std::vector<std::uint8_t> means(static_cast<std::size_t>(3 * result.cols + kBeyond));
        for (int y = first; y < end; ++y) {
            sumColumns(picture.ptr<std::uint8_t>(y * cell),
                       static_cast<std::size_t>(skip) * picture.step[0], rows, sums.data(),
                       samples);
            const auto meansOf = picture.channels() == 3 ? colourMeans : grayMeans;
            meansOf(sums.data(), width, rows, means.data(), result.cols);
            std::copy_n(means.data(), result.cols * picture.channels(),
                        result.ptr<std::uint8_t>(y));
        }
    });
    return result;
}

cv::Mat withoutStrokes(const cv::Mat &small, HelperThread &core)
{
    const cv::Mat reach =
        cv::getStructuringElement(cv::MORPH_RECT, cv::Size(kStrokeReach, kStrokeReach));
    cv::Mat result(small.size(), small.type());
    core.shareRange(0, small.rows, [&](int first, int end) {
        if (first == end)
            return; // half of a single row
        // the rows around that the result depends on
        const cv::Range around(std::max(0, first - kStrokeReach),
                               std::min(small.rows, end + kStrokeReach));
        cv::Mat closed;
        cv::morphologyEx(small.rowRange(around), closed, cv::MORPH_CLOSE, reach);
        closed.rowRange(first - around.start, end - around.start)
            .copyTo(result.rowRange(first, end));
    });
    return result;
}

} // namespace korv::clean
