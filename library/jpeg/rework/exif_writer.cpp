#include "library/jpeg/rework/exif_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace korv {

namespace {

enum Type : std::uint16_t { Ascii = 2, Short = 3, Long = 4, Rational = 5, Undefined = 7 };

constexpr std::uint32_t kBlockHead = 8;
constexpr std::uint32_t kEntry = 12;

void put16(Bytes &to, std::uint32_t value)
{
    to.push_back(static_cast<std::uint8_t>(value >> 8));
    to.push_back(static_cast<std::uint8_t>(value));
}

void put32(Bytes &to, std::uint32_t value)
{
    put16(to, value >> 16);
    put16(to, value & 0xFFFF);
}

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
            offset + 2 + kEntry * static_cast<std::uint32_t>(m_entries.size()) + 4;
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

struct LocalTime
{
    std::string date = "1970:01:01 00:00:00";
    std::string offset = "+00:00";
};

LocalTime localTimeOf(std::time_t time)
{
    LocalTime result;
    std::tm local{};
    char text[40];
    if (::localtime_r(&time, &local) == nullptr)
        return result;
    if (std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &local) == 19)
        result.date = text;
    // strftime writes +hhmm
    if (std::strftime(text, sizeof text, "%z", &local) == 5)
        result.offset = std::string(text, 3) + ":" + (text + 3);
    return result;
}

Directory detailsOf(const LocalTime &time, int width, int height, bool otherColours)
{
    Directory directory;
    directory.set(0x9000, Undefined, 4, {'0', '2', '3', '1'}); // ExifVersion
    directory.setText(0x9003, time.date); // DateTimeOriginal
    directory.setText(0x9004, time.date); // DateTimeDigitized
    directory.setText(0x9010, time.offset); // OffsetTime
    directory.setText(0x9011, time.offset); // OffsetTimeOriginal
    directory.setText(0x9012, time.offset); // OffsetTimeDigitized
    directory.set(0x9101, Undefined, 4, {1, 2, 3, 0}); // ComponentsConfiguration: Y, Cb, Cr
    directory.set(0xA000, Undefined, 4, {'0', '1', '0', '0'}); // FlashpixVersion
    directory.setShort(0xA001, otherColours ? 0xFFFF : 1); // ColorSpace
    directory.setLong(0xA002, static_cast<std::uint32_t>(width)); // PixelXDimension
    directory.setLong(0xA003, static_cast<std::uint32_t>(height)); // PixelYDimension
    return directory;
}

Directory headOf(const PhotographDetails &details, const LocalTime &time,
                 const Resolution &resolution, std::uint32_t detailsAt)
{
    Directory directory;
    if (!details.camera.empty())
        directory.setText(0x0110, details.camera); // Model
    directory.setShort(0x0112, 1); // Orientation
    directory.setRational(0x011A, resolution.x); // XResolution
    directory.setRational(0x011B, resolution.y); // YResolution
    directory.setShort(0x0128, 2); // ResolutionUnit: inch
    directory.setText(0x0132, time.date); // DateTime
    directory.setShort(0x0213, 1); // YCbCrPositioning: in the middle
    directory.setLong(0x8769, detailsAt); // where the details are
    return directory;
}

} // namespace

Bytes exifPayload(const PhotographDetails &details, int width, int height,
                  const Resolution &resolution, bool otherColours)
{
    const LocalTime time = localTimeOf(details.taken);
    // how long the first directory is does not depend on what it says of the second
    const auto length =
        static_cast<std::uint32_t>(headOf(details, time, resolution, 0).bytes(kBlockHead).size());
    const std::uint32_t detailsAt = kBlockHead + length;
    Bytes payload = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, kBlockHead};
    const Bytes head = headOf(details, time, resolution, detailsAt).bytes(kBlockHead);
    payload.insert(payload.end(), head.begin(), head.end());
    const Bytes rest = detailsOf(time, width, height, otherColours).bytes(detailsAt);
    payload.insert(payload.end(), rest.begin(), rest.end());
    return payload;
}

} // namespace korv
