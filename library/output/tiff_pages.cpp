#include "library/output/tiff_pages.h"

#include <cerrno>
#include <cstring>
#include <vector>

namespace korv {

namespace {

constexpr std::uint16_t kPageNumberTag = 297;

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

template <typename Number> Number numberAt(const std::uint8_t *bytes)
{
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

std::uint64_t unsignedAt(const std::uint8_t *bytes, std::size_t size)
{
    if (size == 2)
        return numberAt<std::uint16_t>(bytes);
    return size == 4 ? numberAt<std::uint32_t>(bytes) : numberAt<std::uint64_t>(bytes);
}

class Patcher
{
public:
    Patcher(ByteSink &sink, std::uint16_t total)
        : m_sink(sink)
        , m_total(total)
    {
    }

    Result<void> run()
    {
        if (Result<void> header = read(0, 16); !header)
            return header;
        const std::uint16_t version = numberAt<std::uint16_t>(m_bytes.data() + 2);
        m_layout = version == 43 ? kBig : kClassic;
        std::uint64_t directory =
            unsignedAt(m_bytes.data() + m_layout.firstOffsetAt, m_layout.offsetSize);
        // each directory lies behind the one before it, so the chain ends
        for (std::uint64_t last = 0; directory > last;) {
            last = directory;
            if (Result<void> patched = patchDirectory(directory); !patched)
                return patched;
            directory = m_next;
        }
        return {};
    }

private:
    Result<void> read(std::uint64_t offset, std::size_t size)
    {
        m_bytes.resize(size);
        Result<std::size_t> count = m_sink.readAt(offset, m_bytes.data(), size);
        if (!count)
            return count.error();
        if (count.value() != size)
            return Error{-EIO, "TIFF: directory cut off"};
        return {};
    }

    Result<void> patchDirectory(std::uint64_t at)
    {
        if (Result<void> counted = read(at, m_layout.countSize); !counted)
            return counted;
        const std::uint64_t count = unsignedAt(m_bytes.data(), m_layout.countSize);
        if (count > 0xFFFF)
            return Error{-EIO, "TIFF: not a directory"};
        const std::uint64_t entries = at + m_layout.countSize;
        const auto size = static_cast<std::size_t>(count) * m_layout.entrySize;
        if (Result<void> table = read(entries, size + m_layout.offsetSize); !table)
            return table;
        m_next = unsignedAt(m_bytes.data() + size, m_layout.offsetSize);
        for (std::size_t i = 0; i < size; i += m_layout.entrySize) {
            if (numberAt<std::uint16_t>(m_bytes.data() + i) != kPageNumberTag)
                continue;
            // two 16-bit numbers, so they stand in the entry itself: index, total
            return m_sink.writeAt(entries + i + m_layout.valueAt + 2, {&m_total, sizeof m_total});
        }
        return {};
    }

    ByteSink &m_sink;
    const std::uint16_t m_total;
    Layout m_layout = kClassic;
    Bytes m_bytes;
    std::uint64_t m_next = 0;
};

} // namespace

Result<void> patchPageTotal(ByteSink &sink, std::uint16_t total)
{
    return Patcher(sink, total).run();
}

} // namespace korv
