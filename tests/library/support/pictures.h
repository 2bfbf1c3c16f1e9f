#pragma once

#include "library/image/image.h"
#include "library/jpeg/jpeg.h"
#include "library/jpeg/jpeg_structure.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace testing_support {

using Colour = std::array<int, 3>;

inline korv::Image plainImage(int width, int height, Colour colour)
{
    korv::Image image(width, height, korv::PixelFormat::Rgb24);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (std::size_t channel = 0; channel < 3; ++channel)
                image.row(y)[static_cast<std::size_t>(x) * 3 + channel] =
                    static_cast<std::uint8_t>(colour[channel]);
        }
    }
    return image;
}

/// Different everywhere, smooth enough to survive compression.
inline korv::Image wavyImage(int width, int height)
{
    korv::Image image(width, height, korv::PixelFormat::Rgb24);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t *pixel = image.row(y) + static_cast<std::size_t>(x) * 3;
            pixel[0] = static_cast<std::uint8_t>(128 + 100 * std::sin(x / 17.0));
            pixel[1] = static_cast<std::uint8_t>(128 + 100 * std::sin(y / 23.0));
            pixel[2] = static_cast<std::uint8_t>(128 + 100 * std::sin((x + y) / 31.0));
        }
    }
    return image;
}

inline korv::Bytes jpegOf(const korv::Image &image)
{
    return korv::jpeg::encode(image, {}).value();
}

/// The same with EXIF's orientation 6: a reader turns it to the right.
inline korv::Bytes sidewaysJpegOf(const korv::Image &image)
{
    const korv::Bytes exif = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1,
                              1,   18,  0,   3,   0, 0, 0,   1,   0, 6,  0, 0, 0, 0, 0, 0};
    korv::jpeg::EncodeOptions options;
    options.exif = exif;
    return korv::jpeg::encode(image, options).value();
}

/// Number of bytes from SOI to EOI inclusive. Errors as readStructure().
inline korv::Result<std::size_t> jpegEnd(korv::ByteView data)
{
    const korv::Result<korv::jpeg::Structure> structure = korv::jpeg::readStructure(data);
    if (!structure)
        return structure.error();
    return structure.value().end;
}

inline Colour colourAt(const korv::Image &image, int x, int y)
{
    const std::uint8_t *pixel = image.row(y) + static_cast<std::size_t>(x) * 3;
    return {pixel[0], pixel[1], pixel[2]};
}

inline bool isNear(const Colour &one, const Colour &other, int tolerance = 8)
{
    for (std::size_t channel = 0; channel < 3; ++channel) {
        if (std::abs(one[channel] - other[channel]) > tolerance)
            return false;
    }
    return true;
}

} // namespace testing_support
