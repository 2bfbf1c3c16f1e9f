#include "library/exif/exif.h"

#include "library/exif/exif_layout.h"
#include "library/values/byte_order.h"

#include <cstring>

namespace korv {

namespace {

constexpr unsigned kOrientationTag = 0x0112;
constexpr std::size_t kSignature = 6; ///< "Exif" and two zero bytes
constexpr unsigned kLong = 4;
constexpr unsigned kRational = 5;
constexpr unsigned kXResolutionTag = 0x011A;
constexpr unsigned kYResolutionTag = 0x011B;
constexpr unsigned kResolutionUnitTag = 0x0128;
constexpr unsigned kInch = 2; // EXIF's unit when it does not say
constexpr unsigned kCentimetre = 3;

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
    std::size_t u16(std::size_t at) const { return number(at, 2); }
    std::size_t u32(std::size_t at) const { return number(at, 4); }

private:
    std::size_t number(std::size_t at, std::size_t size) const
    {
        return static_cast<std::size_t>(numberAt(m_data.data + at, size, m_order));
    }

    ByteView m_data;
    ByteOrder m_order;
};

/// The block behind the signature; empty when the payload is not EXIF.
ByteView blockOf(ByteView payload)
{
    if (payload.size < kSignature || std::memcmp(payload.data, "Exif\0\0", kSignature) != 0)
        return {};
    return {payload.data + kSignature, payload.size - kSignature};
}

/// Where the first entry with this tag stands in the first directory; 0 when none does.
std::size_t entryOf(const TiffBlock &block, unsigned tag)
{
    const std::size_t directory = block.u32(4);
    if (directory > block.size() - 2)
        return 0;
    const std::size_t entries = block.u16(directory);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t at = directory + 2 + i * kExifEntry;
        if (at + kExifEntry > block.size())
            return 0;
        if (block.u16(at) == tag)
            return at;
    }
    return 0;
}

/// A RATIONAL; 0 when there is none.
double rationalOf(const TiffBlock &block, unsigned tag)
{
    const std::size_t entry = entryOf(block, tag);
    if (entry == 0 || block.u16(entry + 2) != kRational)
        return 0;
    const std::size_t at = block.u32(entry + 8);
    if (at > block.size() - 8) // a sum could be too large for processors of 32 bits
        return 0;
    const std::size_t parts = block.u32(at + 4);
    return parts != 0 ? static_cast<double>(block.u32(at)) / static_cast<double>(parts) : 0;
}

} // namespace

int exifOrientation(ByteView payload, int otherwise)
{
    return exifBlockOrientation(blockOf(payload), otherwise);
}

int exifBlockOrientation(ByteView data, int otherwise)
{
    if (data.size < kExifHead)
        return otherwise;
    const TiffBlock block(data);
    const std::size_t at = entryOf(block, kOrientationTag);
    if (at == 0)
        return otherwise;
    // a SHORT by the book; some programs write a LONG
    const std::size_t value = block.u16(at + 2) == kLong ? block.u32(at + 8) : block.u16(at + 8);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : otherwise;
}

Resolution exifResolution(ByteView payload)
{
    const ByteView data = blockOf(payload);
    if (data.size < kExifHead)
        return {};
    const TiffBlock block(data);
    const std::size_t unit = entryOf(block, kResolutionUnitTag);
    const std::size_t code = unit != 0 ? block.u16(unit + 8) : kInch;
    if (code != kInch && code != kCentimetre)
        return {};
    const double perInch = code == kCentimetre ? 2.54 : 1;
    return {rationalOf(block, kXResolutionTag) * perInch,
            rationalOf(block, kYResolutionTag) * perInch};
}

} // namespace korv
