#include "library/formats/png_data.h"

#include "library/values/byte_order.h"

#include <cstring>

namespace korv {

Bytes pngData(ByteView png)
{
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kAround = 12; // length, type, checksum
    Bytes data;
    data.reserve(png.size);
    for (std::size_t at = kSignature; at + kAround <= png.size;) {
        const std::uint8_t *chunk = png.data + at;
        const std::size_t length = bigendian::u32(chunk);
        if (length > png.size - at - kAround)
            break;
        if (std::memcmp(chunk + 4, "IDAT", 4) == 0)
            data.insert(data.end(), chunk + 8, chunk + 8 + length);
        at += kAround + length;
    }
    return data;
}

} // namespace korv
