#include "library/video/yuyv.h"

#include "library/image/image.h"

#include <cerrno>
#include <cstddef>

namespace korv {
namespace {

std::uint8_t clamped(int value)
{
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

/// ITU-R BT.601 with 8 fractional bits: 255/219 * 256 = 298, 1.402 * 255/224 * 256 = 409, ...
void putPixel(std::uint8_t *rgb, int luma, int blueDifference, int redDifference)
{
    const int scaled = 298 * (luma - 16) + 128;
    rgb[0] = clamped((scaled + 409 * redDifference) >> 8);
    rgb[1] = clamped((scaled - 100 * blueDifference - 208 * redDifference) >> 8);
    rgb[2] = clamped((scaled + 516 * blueDifference) >> 8);
}

} // namespace

Result<void> yuyvToRgb(const std::uint8_t *source, std::uint8_t *destination, unsigned width,
                       unsigned height)
{
    if (!source || !destination)
        return Error{-EINVAL, "a picture is null"};
    const auto limit = static_cast<unsigned>(kMaxSide);
    if (width == 0 || height == 0 || width > limit || height > limit || width % 2 != 0)
        return Error{-EINVAL, "the picture's size is not possible"};
    const std::size_t pairs = std::size_t{width} / 2 * height;
    for (std::size_t pair = 0; pair < pairs; ++pair) {
        const int blueDifference = source[1] - 128;
        const int redDifference = source[3] - 128;
        putPixel(destination, source[0], blueDifference, redDifference);
        putPixel(destination + 3, source[2], blueDifference, redDifference);
        source += 4;
        destination += 6;
    }
    return {};
}

} // namespace korv
