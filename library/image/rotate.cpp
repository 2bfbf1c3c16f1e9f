#include "library/image/rotate.h"

#include <algorithm>
#include <utility>

namespace korv {

namespace {

template <int Channels> struct Pixel
{
    std::uint8_t value[Channels];
};

/// What a quarter turn fills.
Image turnedCanvas(const Image &image)
{
    Image result(image.height(), image.width(), image.format());
    result.setResolution(image.resolution().transposed());
    result.setBilevel(image.isBilevel());
    return result;
}

/// Blocks keep both the rows read and the rows written in the cache.
template <int Channels> void quarterTurn(const Image &from, Image &to, bool left)
{
    constexpr int kBlock = 32;
    const int width = from.width();
    const int height = from.height();
    for (int blockY = 0; blockY < height; blockY += kBlock) {
        const int endY = std::min(blockY + kBlock, height);
        for (int blockX = 0; blockX < width; blockX += kBlock) {
            const int endX = std::min(blockX + kBlock, width);
            for (int x = blockX; x < endX; ++x) {
                auto *out = reinterpret_cast<Pixel<Channels> *>(to.row(left ? width - 1 - x : x));
                for (int y = blockY; y < endY; ++y) {
                    const auto *in = reinterpret_cast<const Pixel<Channels> *>(from.row(y));
                    out[left ? y : height - 1 - y] = in[x];
                }
            }
        }
    }
}

template <int Channels> void mirrorRows(Image &image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<Pixel<Channels> *>(image.row(y));
        std::reverse(row, row + image.width());
    }
}

void mirrorLeftRight(Image &image)
{
    image.channels() == 1 ? mirrorRows<1>(image) : mirrorRows<3>(image);
}

void mirrorTopBottom(Image &image)
{
    for (int y = 0; y < image.height() / 2; ++y) {
        std::uint8_t *upper = image.row(y);
        std::swap_ranges(upper, upper + image.stride(), image.row(image.height() - 1 - y));
    }
}

} // namespace

Image rotate(const Image &image, Rotation rotation)
{
    if (rotation == Rotation::None)
        return image;
    if (rotation == Rotation::Half) {
        Image result = image;
        mirrorLeftRight(result);
        mirrorTopBottom(result);
        return result;
    }
    Image result = turnedCanvas(image);
    const bool left = rotation == Rotation::Left90;
    image.channels() == 1 ? quarterTurn<1>(image, result, left)
                          : quarterTurn<3>(image, result, left);
    return result;
}

Image applyOrientation(Image image, int orientation)
{
    // EXIF 2.3, table of tag 0x0112: where the stored picture's first row and column belong
    switch (orientation) {
    case 2:
        mirrorLeftRight(image);
        return image;
    case 3:
        return rotate(image, Rotation::Half);
    case 4:
        mirrorTopBottom(image);
        return image;
    case 5:
        image = rotate(image, Rotation::Right90);
        mirrorLeftRight(image);
        return image;
    case 6:
        return rotate(image, Rotation::Right90);
    case 7:
        image = rotate(image, Rotation::Left90);
        mirrorLeftRight(image);
        return image;
    case 8:
        return rotate(image, Rotation::Left90);
    default:
        return image;
    }
}

} // namespace korv
