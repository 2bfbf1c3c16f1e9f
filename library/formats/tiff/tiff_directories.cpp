#include "library/formats/tiff/tiff_directories.h"

#include "library/values/byte_order.h"

#include <cerrno>
#include <cstring>

namespace korv {

namespace {

using littleendian::put16;
using littleendian::put64;

constexpr std::uint16_t kPageNumberTag = 297;
constexpr std::uint16_t kBigVersion = 43;

/// Sizes and places that differ between the classic layout and BigTIFF.
struct Layout
{
    std::size_t firstOffsetAt; ///< in the header, of the first directory's offset
    std::size_t offsetSize;
    std::size_t countSize; ///< of the number of entries
    std::size_t entrySize;
    std::size_t valueAt; ///< within an entry
};

constexpr Layout kClassic = {4, 4, 2, 12, 8};
constexpr Layout kBig = {8, 8, 8, 20, 12};

Result<void> readExactly(ByteSink &sink, std::uint64_t offset, std::uint8_t *to, std::size_t size)
{
    Result<std::size_t> count = sink.readAt(offset, to, size);
    if (!count)
        return count.error();
    if (count.value() != size)
        return Error{-EIO, "TIFF: cut off"};
    return {};
}

/// Walks through the directories of a TIFF.
class Directories
{
public:
    explicit Directories(ByteSink &sink)
        : m_sink(sink)
    {
    }

    Result<void> begin()
    {
        std::uint8_t head[kBigTiffHeadSize];
        if (Result<void> read = readExactly(m_sink, 0, head, sizeof head); !read)
            return read;
        m_layout = littleendian::u16(head + 2) == kBigVersion ? kBig : kClassic;
        m_next = offsetAt(head + m_layout.firstOffsetAt);
        return {};
    }

    /// Whether there is one more. Each lies behind the one before it, so the chain ends.
    bool hasNext() const { return m_next > m_at; }

    Result<void> read()
    {
        m_at = m_next;
        std::uint8_t number[8];
        if (Result<void> counted = readExactly(m_sink, m_at, number, m_layout.countSize); !counted)
            return counted;
        const std::uint64_t count = numberAt(number, m_layout.countSize, ByteOrder::Little);
        if (count > 0xFFFF)
            return Error{-EIO, "TIFF: not a directory"};
        m_size = static_cast<std::size_t>(count) * m_layout.entrySize;
        m_bytes.resize(m_size + m_layout.offsetSize);
        if (Result<void> table = readExactly(m_sink, entriesAt(), m_bytes.data(), m_bytes.size());
            !table)
            return table;
        m_next = offsetAt(m_bytes.data() + m_size);
        return {};
    }

    const Layout &layout() const { return m_layout; }
    std::uint64_t entriesAt() const { return m_at + m_layout.countSize; }
    ByteView entries() const { return ByteView(m_bytes).first(m_size); }

private:
    std::uint64_t offsetAt(const std::uint8_t *bytes) const
    {
        return numberAt(bytes, m_layout.offsetSize, ByteOrder::Little);
    }

    ByteSink &m_sink;
    Layout m_layout = kClassic;
    std::uint64_t m_at = 0;
    std::uint64_t m_next = 0;
    Bytes m_bytes;
    std::size_t m_size = 0; ///< of the entries
};

/// Bytes of one value, by the type's number; 0 for an unknown one.
std::size_t sizeOfType(std::uint32_t type)
{
    constexpr std::uint8_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < sizeof kSizes ? kSizes[type] : 0;
}

/// Appends a classic entry as a wide one. Values of up to eight bytes stand in the entry itself
/// there, up to four here.
Result<void> appendWideEntry(ByteSink &sink, const std::uint8_t *entry, Bytes &wide)
{
    const std::uint32_t type = littleendian::u16(entry + 2);
    const std::uint32_t count = littleendian::u32(entry + 4);
    const std::uint64_t size = std::uint64_t{count} * sizeOfType(type);
    if (size == 0)
        return Error{-EIO, "TIFF: not a value"};
    put16(wide, littleendian::u16(entry));
    put16(wide, type);
    put64(wide, count);
    const std::uint32_t offset = littleendian::u32(entry + kClassic.valueAt);
    if (size > kBig.offsetSize) {
        put64(wide, offset);
        return {};
    }
    std::uint8_t value[8] = {};
    if (size <= kClassic.offsetSize)
        std::memcpy(value, entry + kClassic.valueAt, kClassic.offsetSize);
    else if (Result<void> read = readExactly(sink, offset, value, static_cast<std::size_t>(size));
             !read)
        return read;
    wide.insert(wide.end(), value, value + sizeof value);
    return {};
}

/// The directory with wide offsets, without the offset of the next one.
Result<Bytes> wideDirectory(ByteSink &sink, ByteView entries)
{
    Bytes wide;
    put64(wide, entries.size / kClassic.entrySize);
    for (std::size_t i = 0; i < entries.size; i += kClassic.entrySize) {
        if (Result<void> widened = appendWideEntry(sink, entries.data + i, wide); !widened)
            return widened.error();
    }
    return wide;
}

} // namespace

Result<void> patchPageTotal(ByteSink &sink, std::uint16_t total)
{
    Bytes bytes;
    put16(bytes, total);
    Directories directories(sink);
    if (Result<void> begun = directories.begin(); !begun)
        return begun;
    while (directories.hasNext()) {
        if (Result<void> read = directories.read(); !read)
            return read;
        const ByteView entries = directories.entries();
        const Layout &layout = directories.layout();
        for (std::size_t i = 0; i < entries.size; i += layout.entrySize) {
            if (littleendian::u16(entries.data + i) != kPageNumberTag)
                continue;
            // two 16-bit numbers, so they stand in the entry itself: index, total
            const std::uint64_t at = directories.entriesAt() + i + layout.valueAt + 2;
            if (Result<void> patched = sink.writeAt(at, bytes); !patched)
                return patched;
        }
    }
    return {};
}

Result<void> widenTiff(ByteSink &sink)
{
    Directories directories(sink);
    if (Result<void> begun = directories.begin(); !begun)
        return begun;
    if (directories.layout().offsetSize != kClassic.offsetSize || !directories.hasNext())
        return Error{-EIO, "TIFF: cannot convert to BigTIFF"};
    // directories begin at even places
    std::uint64_t at = (sink.size() + 1) / 2 * 2;
    const std::uint64_t first = at;
    while (directories.hasNext()) {
        if (Result<void> read = directories.read(); !read)
            return read;
        Result<Bytes> wide = wideDirectory(sink, directories.entries());
        if (!wide)
            return wide.error();
        const std::uint64_t next = at + wide.value().size() + kBig.offsetSize;
        put64(wide.value(), directories.hasNext() ? next : 0);
        if (Result<void> written = sink.writeAt(at, wide.value()); !written)
            return written;
        at = next;
    }
    Bytes head = {'I', 'I'};
    put16(head, kBigVersion);
    put16(head, static_cast<std::uint32_t>(kBig.offsetSize));
    put16(head, 0);
    put64(head, first);
    return sink.writeAt(0, head);
}

} // namespace korv
