#include "library/image/colour.h"

namespace korv {

Image toGray(Image image)
{
    if (image.format() == PixelFormat::Gray8)
        return image;
    Image result(image.width(), image.height(), PixelFormat::Gray8);
    result.setResolution(image.resolution());
    result.setBilevel(image.isBilevel());
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t *in = image.row(y);
        std::uint8_t *out = result.row(y);
        // 0.299, 0.587, 0.114 in 16 bit fixed point; their sum is exactly 65536
        for (int x = 0; x < image.width(); ++x, in += 3)
            out[x] = static_cast<std::uint8_t>(
                (19595U * in[0] + 38470U * in[1] + 7471U * in[2] + 32768U) >> 16);
    }
    return result;
}

Image toRgb(Image image)
{
    if (image.format() == PixelFormat::Rgb24)
        return image;
    Image result(image.width(), image.height(), PixelFormat::Rgb24);
    result.setResolution(image.resolution());
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t *in = image.row(y);
        std::uint8_t *out = result.row(y);
        for (int x = 0; x < image.width(); ++x, out += 3)
            out[0] = out[1] = out[2] = in[x];
    }
    return result;
}

} // namespace korv
