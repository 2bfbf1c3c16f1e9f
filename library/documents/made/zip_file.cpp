#include "library/documents/made/zip_file.h"

#include "library/base/handle.h"
#include "library/documents/made/refusal.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libdeflate.h>
#include <optional>

namespace korv {

namespace {

using littleendian::u16;
using littleendian::u32;

// sizes of records without what is variable (APPNOTE.TXT 4.3)
constexpr std::size_t kLocalHeader = 30;
constexpr std::size_t kCentralHeader = 46;
constexpr std::size_t kEnd = 22;

constexpr std::uint32_t kDeflated = 8;
constexpr std::uint32_t kEncryptedFlag = 1;

using Decompressor = Handle<libdeflate_decompressor, libdeflate_free_decompressor>;

bool isRecord(const std::uint8_t *at, std::uint8_t kind, std::uint8_t kindToo)
{
    return at[0] == 'P' && at[1] == 'K' && at[2] == kind && at[3] == kindToo;
}

} // namespace

Result<ZipFile> ZipFile::open(ByteView content)
{
    if (content.size < kEnd)
        return refusal::damaged();
    const std::uint8_t *const end = content.data + content.size - kEnd;
    if (!isRecord(end, 5, 6))
        return refusal::damaged();
    const std::size_t count = u16(end + 10);
    const std::size_t size = u32(end + 12);
    std::size_t at = u32(end + 16);
    const std::size_t directoryEnd = content.size - kEnd;
    if (at > directoryEnd || size != directoryEnd - at)
        return refusal::foreign();
    ZipFile file(content);
    for (std::size_t i = 0; i < count; ++i) {
        const Result<std::size_t> next = file.readDirectoryEntry(at, directoryEnd);
        if (!next)
            return next.error();
        at = next.value();
    }
    return at == directoryEnd ? Result<ZipFile>(std::move(file))
                              : Result<ZipFile>(refusal::foreign());
}

/// Where the next entry begins.
Result<std::size_t> ZipFile::readDirectoryEntry(std::size_t at, std::size_t end)
{
    const std::uint8_t *const head = m_content.data + at;
    if (end - at < kCentralHeader || !isRecord(head, 1, 2))
        return refusal::damaged();
    if ((u16(head + 8) & kEncryptedFlag) != 0)
        return refusal::encrypted();
    const std::size_t nameLength = u16(head + 28);
    const bool isPlain = u16(head + 8) == 0 && u16(head + 30) == 0 && u16(head + 32) == 0;
    if (!isPlain || end - at - kCentralHeader < nameLength)
        return refusal::foreign();
    ZipEntry entry;
    entry.method = u16(head + 10) == kDeflated ? ZipMethod::Deflated : ZipMethod::Stored;
    entry.time = static_cast<std::uint16_t>(u16(head + 12));
    entry.date = static_cast<std::uint16_t>(u16(head + 14));
    entry.checksum = u32(head + 16);
    entry.storedSize = u32(head + 20);
    entry.size = u32(head + 24);
    entry.offset = u32(head + 42);
    entry.name.assign(head + kCentralHeader, head + kCentralHeader + nameLength);
    if (!hasRecord(entry))
        return refusal::damaged();
    m_entries.push_back(std::move(entry));
    return at + kCentralHeader + nameLength;
}

/// Whether the local header says the same, and all data is there.
bool ZipFile::hasRecord(const ZipEntry &entry) const
{
    const std::uint64_t length = kLocalHeader + entry.name.size() + entry.storedSize;
    if (entry.offset > m_content.size || length > m_content.size - entry.offset)
        return false;
    const std::uint8_t *const head = m_content.data + entry.offset;
    return isRecord(head, 3, 4) && u16(head + 6) == 0
        && (u16(head + 8) == kDeflated) == (entry.method == ZipMethod::Deflated)
        && u32(head + 14) == entry.checksum && u32(head + 18) == entry.storedSize
        && u32(head + 22) == entry.size && u16(head + 26) == entry.name.size()
        && u16(head + 28) == 0
        && std::memcmp(head + kLocalHeader, entry.name.data(), entry.name.size()) == 0;
}

const ZipEntry *ZipFile::find(const std::string &name) const
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const ZipEntry &entry) { return entry.name == name; });
    return found == m_entries.end() ? nullptr : &*found;
}

ByteView ZipFile::record(const ZipEntry &entry) const
{
    return {m_content.data + entry.offset, kLocalHeader + entry.name.size() + entry.storedSize};
}

ByteView ZipFile::stored(const ZipEntry &entry) const
{
    return {m_content.data + entry.offset + kLocalHeader + entry.name.size(), entry.storedSize};
}

Result<Bytes> ZipFile::content(const ZipEntry &entry) const
{
    constexpr std::uint32_t kMaxSize = 16U << 20;
    if (entry.size > kMaxSize)
        return refusal::damaged();
    const ByteView data = stored(entry);
    Bytes content(entry.size);
    if (entry.method == ZipMethod::Stored) {
        if (entry.storedSize != entry.size)
            return refusal::damaged();
        std::copy(data.begin(), data.end(), content.begin());
    } else {
        const Decompressor decompressor(libdeflate_alloc_decompressor());
        if (!decompressor)
            return systemError(ENOMEM, "decompress");
        if (libdeflate_deflate_decompress(decompressor.get(), data.data, data.size, content.data(),
                                          content.size(), nullptr)
            != LIBDEFLATE_SUCCESS)
            return refusal::damaged();
    }
    if (libdeflate_crc32(0, content.data(), content.size()) != entry.checksum)
        return refusal::damaged();
    return content;
}

} // namespace korv
