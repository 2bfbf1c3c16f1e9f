#include "library/formats/packed_bits.h"

namespace korv {

void packRow(const std::uint8_t *row, int width, SetBit setBit, std::uint8_t *out)
{
    const std::uint8_t flip = setBit == SetBit::Black ? 0x80 : 0;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        unsigned bits = 0;
        for (int i = 0; i < 8; ++i)
            bits = bits << 1 | ((row[x + i] ^ flip) & 0x80U) >> 7;
        *out++ = static_cast<std::uint8_t>(bits);
    }
    if (x == width)
        return;
    unsigned bits = 0;
    for (int i = 0; i < width - x; ++i)
        bits |= ((row[x + i] ^ flip) & 0x80U) >> i;
    *out = static_cast<std::uint8_t>(bits);
}

Bytes packRows(const Image &image, SetBit setBit)
{
    const std::size_t stride = packedStride(image.width());
    Bytes packed(stride * static_cast<std::size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        packRow(image.row(y), image.width(), setBit,
                packed.data() + static_cast<std::size_t>(y) * stride);
    return packed;
}

} // namespace korv
