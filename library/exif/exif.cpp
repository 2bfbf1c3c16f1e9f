#include "library/exif/exif.h"

#include "library/values/byte_order.h"

#include <cstring>

namespace korv {

namespace {

constexpr unsigned kOrientationTag = 0x0112;
constexpr std::size_t kSignature = 6; ///< "Exif" and two zero bytes
constexpr std::size_t kBlockHead = 8; ///< byte order, 42, where the directory is
constexpr std::size_t kEntry = 12;
constexpr unsigned kLong = 4;

/// TIFF numbers in the byte order that the block announces.
class TiffBlock
{
public:
    explicit TiffBlock(ByteView data)
        : m_data(data)
        , m_order(data[0] == 'I' ? ByteOrder::Little : ByteOrder::Big)
    {
    }

    std::size_t size() const { return m_data.size; }
    std::size_t u16(std::size_t at) const { return numberAt(m_data.data + at, 2, m_order); }
    std::size_t u32(std::size_t at) const { return numberAt(m_data.data + at, 4, m_order); }

private:
    ByteView m_data;
    ByteOrder m_order;
};

} // namespace

int exifOrientation(ByteView payload, int otherwise)
{
    if (payload.size < kSignature || std::memcmp(payload.data, "Exif\0\0", kSignature) != 0)
        return otherwise;
    return exifBlockOrientation({payload.data + kSignature, payload.size - kSignature}, otherwise);
}

int exifBlockOrientation(ByteView data, int otherwise)
{
    if (data.size < kBlockHead)
        return otherwise;
    const TiffBlock block(data);
    const std::size_t directory = block.u32(4);
    if (directory > block.size() - 2)
        return otherwise;
    const std::size_t entries = block.u16(directory);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t at = directory + 2 + i * kEntry;
        if (at + kEntry > block.size())
            return otherwise;
        if (block.u16(at) != kOrientationTag)
            continue;
        // a SHORT by the book; some programs write a LONG
        const std::size_t value =
            block.u16(at + 2) == kLong ? block.u32(at + 8) : block.u16(at + 8);
        return value >= 1 && value <= 8 ? static_cast<int>(value) : otherwise;
    }
    return otherwise;
}

} // namespace korv
