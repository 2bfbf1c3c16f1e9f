#include "library/formats/tiff/tiff_pages.h"

#include "library/values/byte_order.h"

#include <algorithm>
#include <unordered_set>

namespace korv {

namespace {

constexpr std::size_t kMaxDirectories = 1'000'000;
/// What a directory without a list of lengths counts as: it may be a page of an old program, but
/// thousands of them may show the same data.
constexpr std::uint64_t kUnlistedShare = 64;

enum Tag : std::uint16_t {
    NewSubfileType = 254,
    SubfileType = 255,
    StripByteCounts = 279,
    TileByteCounts = 325,
};
constexpr std::uint64_t kReducedOrMask = 1 | 4; ///< of NewSubfileType
constexpr std::uint64_t kReduced = 2; ///< as SubfileType

/// Numbers of a TIFF in its byte order; outside of the content they are 0.
class Reader
{
public:
    explicit Reader(ByteView content)
        : m_content(content)
        , m_order(content.size > 0 && content[0] == 'I' ? ByteOrder::Little : ByteOrder::Big)
    {
    }

    bool has(std::uint64_t at, std::uint64_t count) const
    {
        return at <= m_content.size && count <= m_content.size - at;
    }
    std::uint64_t number(std::uint64_t at, std::size_t size) const
    {
        return has(at, size) ? numberAt(m_content.data + at, size, m_order) : 0;
    }
    std::uint64_t size() const { return m_content.size; }

private:
    ByteView m_content;
    ByteOrder m_order;
};

std::size_t sizeOfType(std::uint64_t type)
{
    switch (type) {
    case 3: // SHORT
        return 2;
    case 4: // LONG
    case 13: // IFD
        return 4;
    case 16: // LONG8
    case 18: // IFD8
        return 8;
    default:
        return 0;
    }
}

class ChainWalker
{
public:
    explicit ChainWalker(ByteView content)
        : m_reader(content)
        , m_big(m_reader.number(2, 2) == 43)
    {
    }

    TiffPages walk();

private:
    struct Directory
    {
        bool page = true;
        bool listed = false; ///< how long its data are
        std::uint64_t next = 0;
    };

    std::size_t offsetSize() const { return m_big ? 8 : 4; }
    std::size_t countSize() const { return m_big ? 8 : 2; }
    std::size_t entrySize() const { return m_big ? 20 : 12; }
    bool read(std::uint64_t at, Directory &directory);
    void readEntry(std::uint64_t at, Directory &directory);
    bool claim(std::uint64_t entry, std::size_t typeSize, std::uint64_t count);

    Reader m_reader;
    const bool m_big;
    std::uint64_t m_claimed = 0; ///< bytes of all pages' data
    std::uint64_t m_lengths = 0; ///< numbers that say so
    bool m_greedy = false;
};

/// Adds up the lengths of a page's pieces. Honest pages do not share their data, so together they
/// are no longer than the file; a few bytes more are let pass.
bool ChainWalker::claim(std::uint64_t entry, std::size_t typeSize, std::uint64_t count)
{
    const std::uint64_t valueAt = entry + 4 + offsetSize();
    m_lengths += count;
    if (count > m_reader.size() || m_lengths > m_reader.size())
        return false;
    const std::uint64_t at =
        count * typeSize <= offsetSize() ? valueAt : m_reader.number(valueAt, offsetSize());
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t length = m_reader.number(at + i * typeSize, typeSize);
        // what a single piece claims beyond the end is not there to be read
        m_claimed += std::min(length, m_reader.size());
        if (m_claimed > 2 * m_reader.size())
            return false;
    }
    return true;
}

void ChainWalker::readEntry(std::uint64_t at, Directory &directory)
{
    const std::uint64_t tag = m_reader.number(at, 2);
    const std::size_t typeSize = sizeOfType(m_reader.number(at + 2, 2));
    const std::uint64_t count = m_reader.number(at + 4, offsetSize());
    if (typeSize == 0 || count == 0)
        return;
    const std::uint64_t value = m_reader.number(at + 4 + offsetSize(), typeSize);
    if (tag == NewSubfileType)
        directory.page = directory.page && (value & kReducedOrMask) == 0;
    else if (tag == SubfileType)
        directory.page = directory.page && value != kReduced;
    else if (tag == StripByteCounts || tag == TileByteCounts) {
        directory.listed = true;
        m_greedy = m_greedy || !claim(at, typeSize, count);
    }
}

bool ChainWalker::read(std::uint64_t at, Directory &directory)
{
    if (!m_reader.has(at, countSize()))
        return false;
    const std::uint64_t count = m_reader.number(at, countSize());
    const std::uint64_t entries = at + countSize();
    if (count == 0 || count > 0xFFFF || !m_reader.has(entries, count * entrySize()))
        return false;
    for (std::uint64_t i = 0; i < count; ++i)
        readEntry(entries + i * entrySize(), directory);
    if (!directory.listed)
        m_claimed += m_reader.size() / kUnlistedShare;
    // some programs leave out the last offset at the end of the file; it counts as none
    directory.next = m_reader.number(entries + count * entrySize(), offsetSize());
    m_greedy = m_greedy || m_claimed > 2 * m_reader.size();
    return true;
}

TiffPages ChainWalker::walk()
{
    TiffPages pages;
    std::unordered_set<std::uint64_t> seen;
    std::uint64_t first = 0;
    std::uint64_t at = m_reader.number(m_big ? 8 : 4, offsetSize());
    while (at != 0 && *pages.problem == '\0') {
        Directory directory;
        if (!seen.insert(at).second)
            pages.problem = "TIFF: its pages run in a circle";
        else if (seen.size() > kMaxDirectories)
            pages.problem = "TIFF: too many pages";
        else if (!read(at, directory))
            pages.problem = "TIFF: the list of its pages breaks off";
        else if (m_greedy && first != 0)
            pages.problem = "TIFF: its pages claim more data than there are";
        else if (directory.page)
            pages.directories.push_back(at);
        if (first == 0)
            first = at;
        at = directory.next;
    }
    // nothing but reduced pictures: better than nothing
    if (pages.directories.empty() && first != 0)
        pages.directories.push_back(first);
    return pages;
}

} // namespace

TiffPages tiffPages(ByteView content)
{
    return ChainWalker(content).walk();
}

} // namespace korv
