#include "library/compact/cell_means.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korv::compact {

namespace {

constexpr float kTrustGain = 4; ///< a quarter of a cell makes its mean as good as any

/// Where each cell begins, and behind them all where the last one ends.
std::vector<int> boundaries(int cells, int pixels)
{
    std::vector<int> result(static_cast<std::size_t>(cells) + 1);
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = static_cast<int>(static_cast<std::int64_t>(i) * pixels / cells);
    return result;
}

template <int Channels> struct Sum
{
    std::array<std::uint32_t, Channels> levels{};
    std::uint32_t count = 0;
};

template <int Channels>
void addRow(const std::uint8_t *row, const std::uint8_t *chosen, const std::vector<int> &columns,
            std::vector<Sum<Channels>> &sums)
{
    for (std::size_t cell = 0; cell < sums.size(); ++cell) {
        Sum<Channels> sum = sums[cell];
        for (int x = columns[cell]; x < columns[cell + 1]; ++x) {
            // without a branch, as letters are not to be foreseen
            const std::uint32_t keep = chosen[x] == 0 ? 1 : 0;
            sum.count += keep;
            for (std::size_t channel = 0; channel < Channels; ++channel)
                sum.levels[channel] += keep * row[Channels * x + static_cast<int>(channel)];
        }
        sums[cell] = sum;
    }
}

template <int Channels>
CellMeans meansWith(const cv::Mat &picture, const cv::Mat &chosen, const cv::Size &grid,
                    HelperThread &core)
{
    const std::vector<int> columns = boundaries(grid.width, picture.cols);
    const std::vector<int> rows = boundaries(grid.height, picture.rows);
    CellMeans result{cv::Mat(grid, CV_32FC(Channels)), cv::Mat(grid, CV_32FC1)};
    core.shareRange(0, grid.height, [&](int first, int end) {
        std::vector<Sum<Channels>> sums(static_cast<std::size_t>(grid.width));
        for (int cellRow = first; cellRow < end; ++cellRow) {
            std::fill(sums.begin(), sums.end(), Sum<Channels>());
            const int top = rows[static_cast<std::size_t>(cellRow)];
            const int bottom = rows[static_cast<std::size_t>(cellRow) + 1];
            for (int y = top; y < bottom; ++y)
                addRow<Channels>(picture.ptr<std::uint8_t>(y), chosen.ptr<std::uint8_t>(y), columns,
                                 sums);
            auto *mean = result.weighted.ptr<float>(cellRow);
            auto *weight = result.weights.ptr<float>(cellRow);
            for (std::size_t cell = 0; cell < sums.size(); ++cell) {
                const int pixels = (bottom - top) * (columns[cell + 1] - columns[cell]);
                const auto count = static_cast<float>(sums[cell].count);
                weight[cell] = std::min(1.0F, kTrustGain * count / static_cast<float>(pixels));
                const float factor = weight[cell] / std::max(1.0F, count);
                for (const std::uint32_t level : sums[cell].levels)
                    *mean++ = static_cast<float>(level) * factor;
            }
        }
    });
    return result;
}

/// The variance of a cell's levels, or kUnknown.
float varianceAt(const cv::Mat &gray, const cv::Mat &chosen, const cv::Rect &cell)
{
    std::uint32_t sum = 0;
    std::uint32_t squares = 0;
    std::uint32_t others = 0;
    for (int y = cell.y; y < cell.y + cell.height; ++y) {
        const auto *level = gray.ptr<std::uint8_t>(y) + cell.x;
        const auto *other = chosen.ptr<std::uint8_t>(y) + cell.x;
        for (int x = 0; x < cell.width; ++x) {
            sum += level[x];
            squares += static_cast<std::uint32_t>(level[x]) * level[x];
            others |= other[x];
        }
    }
    if (others != 0)
        return kUnknown;
    const auto count = static_cast<float>(cell.area());
    const float mean = static_cast<float>(sum) / count;
    return std::max(0.0F, static_cast<float>(squares) / count - mean * mean);
}

bool isMixed(const cv::Mat &picture, const cv::Mat &chosen, const cv::Rect &cell)
{
    constexpr int kDull = 30; ///< difference of the channels, in levels
    constexpr int kColoured = 60;
    constexpr int kMinPixels = 4; ///< of each kind
    int dull = 0;
    int coloured = 0;
    for (int y = cell.y; y < cell.y + cell.height; ++y) {
        const auto *other = chosen.ptr<std::uint8_t>(y);
        const auto *pixel = picture.ptr<cv::Vec3b>(y);
        for (int x = cell.x; x < cell.x + cell.width; ++x) {
            if (other[x] != 0)
                continue;
            const auto [least, most] = std::minmax({pixel[x][0], pixel[x][1], pixel[x][2]});
            dull += most - least < kDull ? 1 : 0;
            coloured += most - least > kColoured ? 1 : 0;
        }
    }
    return dull >= kMinPixels && coloured >= kMinPixels;
}

} // namespace

cv::Mat mixedColours(const cv::Mat &picture, const cv::Mat &chosen, const cv::Size &grid,
                     HelperThread &core)
{
    const std::vector<int> columns = boundaries(grid.width, picture.cols);
    const std::vector<int> rows = boundaries(grid.height, picture.rows);
    cv::Mat result(grid, CV_8UC1);
    core.shareRange(0, grid.height, [&](int first, int end) {
        for (int cellRow = first; cellRow < end; ++cellRow) {
            const auto y = static_cast<std::size_t>(cellRow);
            auto *mixed = result.ptr<std::uint8_t>(cellRow);
            for (std::size_t x = 0; x < columns.size() - 1; ++x)
                mixed[x] = isMixed(picture, chosen,
                                   cv::Rect(cv::Point(columns[x], rows[y]),
                                            cv::Point(columns[x + 1], rows[y + 1])))
                    ? 255
                    : 0;
        }
    });
    return result;
}

CellMeans meansOf(const cv::Mat &picture, const cv::Mat &chosen, const cv::Size &grid,
                  HelperThread &core)
{
    return picture.channels() == 1 ? meansWith<1>(picture, chosen, grid, core)
                                   : meansWith<3>(picture, chosen, grid, core);
}

cv::Mat variancesOf(const cv::Mat &gray, const cv::Mat &chosen, const cv::Size &grid,
                    HelperThread &core)
{
    const std::vector<int> columns = boundaries(grid.width, gray.cols);
    const std::vector<int> rows = boundaries(grid.height, gray.rows);
    cv::Mat result(grid, CV_32FC1);
    core.shareRange(0, grid.height, [&](int first, int end) {
        for (int cellRow = first; cellRow < end; ++cellRow) {
            const auto y = static_cast<std::size_t>(cellRow);
            auto *variance = result.ptr<float>(cellRow);
            for (std::size_t x = 0; x < columns.size() - 1; ++x)
                variance[x] = varianceAt(gray, chosen,
                                         cv::Rect(cv::Point(columns[x], rows[y]),
                                                  cv::Point(columns[x + 1], rows[y + 1])));
        }
    });
    return result;
}

} // namespace korv::compact
