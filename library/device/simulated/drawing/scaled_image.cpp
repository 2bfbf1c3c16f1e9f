#include "library/device/simulated/drawing/scaled_image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace korv {
namespace {

constexpr int kFractionBits = 14;

/// The source pixels that make one pixel of the result, and their weights, which add up to one.
struct Taps
{
    std::size_t first = 0;
    std::vector<int> weights;
};

/// A tent as wide as a pixel of the result, or of the source where that is larger.
std::vector<Taps> tapsFor(int from, int to)
{
    const double ratio = static_cast<double>(from) / to;
    const double reach = std::max(1.0, ratio);
    std::vector<Taps> all(static_cast<std::size_t>(to));
    for (int at = 0; at < to; ++at) {
        const double centre = (at + 0.5) * ratio - 0.5;
        const int first = std::max(0, static_cast<int>(std::ceil(centre - reach)));
        const int last = std::min(from - 1, static_cast<int>(std::floor(centre + reach)));
        std::vector<double> shares;
        double sum = 0;
        for (int each = first; each <= last; ++each) {
            shares.push_back(std::max(1e-6, 1.0 - std::abs(each - centre) / reach));
            sum += shares.back();
        }
        Taps &taps = all[static_cast<std::size_t>(at)];
        taps.first = static_cast<std::size_t>(first);
        for (const double share : shares)
            taps.weights.push_back(
                static_cast<int>(std::lround(share / sum * (1 << kFractionBits))));
    }
    return all;
}

std::uint8_t rounded(int sum)
{
    return static_cast<std::uint8_t>(
        std::clamp((sum + (1 << (kFractionBits - 1))) >> kFractionBits, 0, 255));
}

Image narrowed(const Image &picture, int width)
{
    Image result(width, picture.height(), picture.format());
    const std::vector<Taps> taps = tapsFor(picture.width(), width);
    const auto channels = static_cast<std::size_t>(picture.channels());
    for (int y = 0; y < picture.height(); ++y) {
        std::uint8_t *to = result.row(y);
        for (const Taps &tap : taps) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                const std::uint8_t *from = picture.row(y) + tap.first * channels + channel;
                int sum = 0;
                for (const int weight : tap.weights) {
                    sum += weight * *from;
                    from += channels;
                }
                *to++ = rounded(sum);
            }
        }
    }
    return result;
}

Image lowered(const Image &picture, int height)
{
    Image result(picture.width(), height, picture.format());
    const std::vector<Taps> taps = tapsFor(picture.height(), height);
    const std::size_t stride = picture.stride();
    std::vector<int> sums(stride);
    for (int y = 0; y < height; ++y) {
        const Taps &tap = taps[static_cast<std::size_t>(y)];
        std::fill(sums.begin(), sums.end(), 0);
        int row = static_cast<int>(tap.first);
        for (const int weight : tap.weights) {
            const std::uint8_t *from = picture.row(row++);
            for (std::size_t at = 0; at < stride; ++at)
                sums[at] += weight * from[at];
        }
        std::transform(sums.begin(), sums.end(), result.row(y), rounded);
    }
    return result;
}

} // namespace

Image scaled(const Image &picture, int width, int height)
{
    if (picture.width() == width && picture.height() == height)
        return picture;
    return lowered(narrowed(picture, width), height);
}

} // namespace korv
