#include "library/imaging/search_picture.h"

#include "library/imaging/two_cores.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kLongSide = 640;
constexpr int kWriting = 7; ///< wider than strokes and the gaps between them, at this size
constexpr int kInk = 14; ///< levels that writing is darker than what is around it
constexpr int kInkAround = 9;
constexpr int kSpeck = 3;
constexpr int kMostMixed = 4; ///< frame pixels across that make a small one: enough against noise

double searchScale(const Image &image)
{
    return std::min(1.0, double{kLongSide} / std::max(image.width(), image.height()));
}

/// Where the frame pixels lie that a small pixel is the mean of.
struct Blocks
{
    int count = 1; ///< of each
    std::vector<int> starts;

    Blocks(int full, int small, double scale)
        : count(std::clamp(static_cast<int>(1 / scale), 1, kMostMixed))
    {
        starts.reserve(static_cast<std::size_t>(small));
        for (int i = 0; i < small; ++i) {
            const auto first = std::lround((i + 0.5) / scale - 0.5 * count);
            starts.push_back(std::clamp(static_cast<int>(first), 0, full - count));
        }
    }
};

/// Means of blocks of kCount x kCount frame pixels. Constants, so that the loops are unrolled.
template <int kChannels, int kCount>
void mixRow(const Image &image, int firstRow, const std::vector<int> &columns,
            std::vector<std::uint16_t> &sums, std::uint8_t *out)
{
    const std::size_t stride = sums.size();
    const std::uint8_t *rows = image.row(firstRow);
    for (std::size_t i = 0; i < stride; ++i) {
        unsigned int sum = 0;
        for (std::size_t k = 0; k < kCount; ++k)
            sum += rows[i + k * stride];
        sums[i] = static_cast<std::uint16_t>(sum);
    }
    constexpr unsigned int kParts = kCount * kCount;
    for (const int start : columns) {
        const std::uint16_t *from = sums.data() + std::ptrdiff_t{start} * kChannels;
        for (int channel = 0; channel < kChannels; ++channel) {
            unsigned int sum = kParts / 2;
            for (int i = 0; i < kCount; ++i)
                sum += from[i * kChannels + channel];
            *out++ = static_cast<std::uint8_t>(sum / kParts);
        }
    }
}

template <int kChannels, int kCount>
void mix(const Image &image, const Blocks &columns, const Blocks &rows, cv::Mat &result)
{
    onTwoCores(0, result.rows, [&](int first, int end) {
        std::vector<std::uint16_t> sums(image.stride());
        for (int y = first; y < end; ++y) {
            mixRow<kChannels, kCount>(image, rows.starts[static_cast<std::size_t>(y)],
                                      columns.starts, sums, result.ptr<std::uint8_t>(y));
        }
    });
}

template <int kChannels>
void mixBlocks(const Image &image, const Blocks &columns, const Blocks &rows, cv::Mat &result)
{
    switch (columns.count) {
    case 1:
        return mix<kChannels, 1>(image, columns, rows, result);
    case 2:
        return mix<kChannels, 2>(image, columns, rows, result);
    case 3:
        return mix<kChannels, 3>(image, columns, rows, result);
    default:
        return mix<kChannels, kMostMixed>(image, columns, rows, result);
    }
}

/// Faster than means over exact areas, and as good for finding edges.
cv::Mat shrunk(const Image &image, double scale)
{
    const cv::Size size = searchSize(image);
    const Blocks columns(image.width(), size.width, scale);
    const Blocks rows(image.height(), size.height, scale);
    cv::Mat result(size, CV_8UC(image.channels()));
    if (image.channels() == 1)
        mixBlocks<1>(image, columns, rows, result);
    else
        mixBlocks<3>(image, columns, rows, result);
    return result;
}

void split(const cv::Mat &small, Planes &planes)
{
    if (small.channels() == 1) {
        planes[0] = small;
        planes[1] = cv::Mat(small.size(), CV_8UC1, cv::Scalar(128));
        planes[2] = planes[1].clone();
        return;
    }
    cv::Mat converted;
    cv::cvtColor(small, converted, cv::COLOR_RGB2YCrCb);
    cv::split(converted, planes.data());
}

} // namespace

cv::Point2d SearchPicture::toFrame(cv::Point2d point) const
{
    return {(point.x + 0.5) / scale - 0.5, (point.y + 0.5) / scale - 0.5};
}

cv::Size searchSize(const Image &image)
{
    const auto small = [scale = searchScale(image)](int full) {
        return std::max(1, static_cast<int>(std::lround(full * scale)));
    };
    return {small(image.width()), small(image.height())};
}

SearchPicture makeSearchPicture(const Image &image)
{
    SearchPicture result;
    result.scale = searchScale(image);
    Planes planes;
    split(shrunk(image, result.scale), planes);
    const cv::Size blur(3, 3);
    const auto prepareChroma = [&] {
        for (std::size_t i = 1; i < 3; ++i) {
            cv::medianBlur(planes[i], result.closed[i], kSpeck);
            cv::GaussianBlur(result.closed[i], result.closed[i], blur, 0);
        }
    };
    const auto prepareLuma = [&] {
        const cv::Size writing(kWriting, kWriting);
        cv::morphologyEx(planes[0], result.closed[0], cv::MORPH_CLOSE,
                         cv::getStructuringElement(cv::MORPH_RECT, writing));
        const cv::Mat ink = result.closed[0] - planes[0] > kInk;
        const cv::Size around(kInkAround, kInkAround);
        cv::boxFilter(ink, result.writing, -1, around, cv::Point(-1, -1), true,
                      cv::BORDER_REPLICATE);
        cv::GaussianBlur(result.closed[0], result.closed[0], blur, 0);
        cv::GaussianBlur(planes[0], result.plainLuma, blur, 0);
    };
    onTwoCores(prepareChroma, prepareLuma);
    return result;
}

} // namespace korv::crop
