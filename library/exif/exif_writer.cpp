#include "library/exif/exif_writer.h"

#include "library/exif/exif_layout.h"
#include "library/values/byte_order.h"
#include "library/values/dates.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace korv {

namespace {

using bigendian::put16;
using bigendian::put32;

enum Type : std::uint16_t { Ascii = 2, Short = 3, Long = 4, Rational = 5, Undefined = 7 };

/// One directory of tags, big-endian; call the setters in the order of the tags.
class Directory
{
public:
    void set(std::uint16_t tag, Type type, std::uint32_t count, Bytes value)
    {
        m_entries.push_back({tag, type, count, std::move(value)});
    }
    void setText(std::uint16_t tag, const std::string &text)
    {
        Bytes value(text.begin(), text.end());
        value.push_back(0);
        set(tag, Ascii, static_cast<std::uint32_t>(value.size()), value);
    }
    void setShort(std::uint16_t tag, std::uint32_t number)
    {
        Bytes value;
        put16(value, number);
        set(tag, Short, 1, value);
    }
    void setLong(std::uint16_t tag, std::uint32_t number)
    {
        Bytes value;
        put32(value, number);
        set(tag, Long, 1, value);
    }
    void setRational(std::uint16_t tag, double number)
    {
        // more parts only where they say more: a sheet's size to a hundredth of a millimetre
        const std::uint32_t parts = number * 100 == std::floor(number * 100) ? 100 : 10'000;
        Bytes value;
        put32(value, static_cast<std::uint32_t>(std::lround(number * parts)));
        put32(value, parts);
        set(tag, Rational, 1, value);
    }

    /// With what it points to, to stand at `offset` of the block.
    Bytes bytes(std::uint32_t offset) const
    {
        Bytes table;
        Bytes values;
        put16(table, static_cast<std::uint32_t>(m_entries.size()));
        const auto valuesAt =
            offset + 2 + kExifEntry * static_cast<std::uint32_t>(m_entries.size()) + 4;
        for (const Entry &entry : m_entries) {
            put16(table, entry.tag);
            put16(table, entry.type);
            put32(table, entry.count);
            if (entry.value.size() > 4) {
                put32(table, valuesAt + static_cast<std::uint32_t>(values.size()));
                values.insert(values.end(), entry.value.begin(), entry.value.end());
                values.resize((values.size() + 1) / 2 * 2);
            } else {
                table.insert(table.end(), entry.value.begin(), entry.value.end());
                table.resize(table.size() + 4 - entry.value.size());
            }
        }
        put32(table, 0); // no further directory
        table.insert(table.end(), values.begin(), values.end());
        return table;
    }

private:
    struct Entry
    {
        std::uint16_t tag;
        Type type;
        std::uint32_t count;
        Bytes value;
    };

    std::vector<Entry> m_entries;
};

Directory detailsOf(std::time_t taken, int width, int height, bool otherColours)
{
    const std::string date = tiffDate(taken);
    const std::string offset = isoOffset(taken);
    Directory directory;
    directory.set(0x9000, Undefined, 4, {'0', '2', '3', '1'}); // ExifVersion
    directory.setText(0x9003, date); // DateTimeOriginal
    directory.setText(0x9004, date); // DateTimeDigitized
    directory.setText(0x9010, offset); // OffsetTime
    directory.setText(0x9011, offset); // OffsetTimeOriginal
    directory.setText(0x9012, offset); // OffsetTimeDigitized
    directory.set(0x9101, Undefined, 4, {1, 2, 3, 0}); // ComponentsConfiguration: Y, Cb, Cr
    directory.set(0xA000, Undefined, 4, {'0', '1', '0', '0'}); // FlashpixVersion
    directory.setShort(0xA001, otherColours ? 0xFFFF : 1); // ColorSpace
    directory.setLong(0xA002, static_cast<std::uint32_t>(width)); // PixelXDimension
    directory.setLong(0xA003, static_cast<std::uint32_t>(height)); // PixelYDimension
    return directory;
}

Directory headOf(const PhotographDetails &details, const Resolution &resolution,
                 std::uint32_t detailsAt)
{
    Directory directory;
    if (!details.camera.empty())
        directory.setText(0x0110, details.camera); // Model
    directory.setShort(0x0112, 1); // Orientation
    directory.setRational(0x011A, resolution.x); // XResolution
    directory.setRational(0x011B, resolution.y); // YResolution
    directory.setShort(0x0128, 2); // ResolutionUnit: inch
    directory.setText(0x0132, tiffDate(details.taken)); // DateTime
    directory.setShort(0x0213, 1); // YCbCrPositioning: in the middle
    directory.setLong(0x8769, detailsAt); // where the details are
    return directory;
}

} // namespace

Bytes exifPayload(const PhotographDetails &details, int width, int height,
                  const Resolution &resolution, bool otherColours)
{
    // how long the first directory is does not depend on what it says of the second
    const auto length =
        static_cast<std::uint32_t>(headOf(details, resolution, 0).bytes(kExifHead).size());
    const std::uint32_t detailsAt = kExifHead + length;
    Bytes payload = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, kExifHead};
    const Bytes head = headOf(details, resolution, detailsAt).bytes(kExifHead);
    payload.insert(payload.end(), head.begin(), head.end());
    const Bytes rest = detailsOf(details.taken, width, height, otherColours).bytes(detailsAt);
    payload.insert(payload.end(), rest.begin(), rest.end());
    return payload;
}

} // namespace korv
