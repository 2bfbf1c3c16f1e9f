#include "library/documents/ofd/zip_writer.h"

#include "library/documents/deflate.h"
#include "library/values/byte_order.h"
#include "library/values/dates.h"

#include <cerrno>
#include <utility>

#include <libdeflate.h>

namespace korv {

namespace {

using littleendian::put16;
using littleendian::put32;
using littleendian::put64;

constexpr std::uint32_t kFull32 = 0xFFFFFFFF; ///< "look into the ZIP64 field"
constexpr std::uint32_t kFull16 = 0xFFFF;
constexpr unsigned kVersion = 20; ///< folders and deflate
constexpr unsigned kVersion64 = 45;

std::uint32_t bounded32(std::uint64_t value)
{
    return value < kFull32 ? static_cast<std::uint32_t>(value) : kFull32;
}

} // namespace

ZipWriter::ZipWriter(ByteSink &sink, std::time_t modified)
    : m_sink(sink)
{
    std::tm local = localTime(modified);
    if (local.tm_year < 80 || local.tm_year > 207) {
        local = {};
        local.tm_year = 80;
        local.tm_mday = 1;
    }
    // MS-DOS date and time: month and day must not be 0
    m_date = static_cast<std::uint16_t>((local.tm_year - 80) << 9 | (local.tm_mon + 1) << 5
                                        | local.tm_mday);
    m_time = static_cast<std::uint16_t>(local.tm_hour << 11 | local.tm_min << 5 | local.tm_sec / 2);
}

void ZipWriter::putCommonFields(Bytes &to, const ZipEntry &entry, std::size_t extraLength)
{
    put16(to, extraLength > 0 ? kVersion64 : kVersion);
    put16(to, 0);
    put16(to, entry.method == ZipMethod::Deflated ? 8 : 0);
    put16(to, entry.time);
    put16(to, entry.date);
    put32(to, entry.checksum);
    put32(to, entry.storedSize);
    put32(to, entry.size);
    put16(to, static_cast<unsigned>(entry.name.size()));
    put16(to, static_cast<unsigned>(extraLength));
}

Result<void> ZipWriter::add(const std::string &name, ByteView content, ZipMethod method)
{
    if (content.size >= kFull32)
        return Error{-EFBIG, "ZIP: entry too large"};
    ZipEntry entry;
    entry.name = name;
    entry.date = m_date;
    entry.time = m_time;
    entry.offset = m_sink.size();
    entry.checksum = libdeflate_crc32(0, content.data, content.size);
    entry.size = static_cast<std::uint32_t>(content.size);
    Bytes packed;
    if (method == ZipMethod::Deflated) {
        Result<Bytes> result = deflated(content, DeflateFrame::None);
        if (!result)
            return result.error();
        if (result.value().size() < content.size) {
            packed = std::move(result).value();
            content = packed;
            entry.method = ZipMethod::Deflated;
        }
    }
    entry.storedSize = static_cast<std::uint32_t>(content.size);

    Bytes head = {'P', 'K', 3, 4};
    putCommonFields(head, entry, 0);
    head.insert(head.end(), name.begin(), name.end());
    if (Result<void> written = m_sink.write(ByteView(head)); !written)
        return written;
    m_entries.push_back(std::move(entry));
    return m_sink.write(content);
}

Result<void> ZipWriter::copy(ZipEntry entry, ByteView record)
{
    entry.offset = m_sink.size();
    m_entries.push_back(std::move(entry));
    return m_sink.write(record);
}

void ZipWriter::putCentralHeader(Bytes &to, const ZipEntry &entry)
{
    const bool far = entry.offset >= kFull32;
    const std::size_t extraLength = far ? 12 : 0;
    to.insert(to.end(), {'P', 'K', 1, 2});
    put16(to, 3 << 8 | (far ? kVersion64 : kVersion)); // 3: attributes as on Unix
    putCommonFields(to, entry, extraLength);
    put16(to, 0);
    put16(to, 0);
    put16(to, 0);
    put32(to, 0100644U << 16); // a plain file that everybody may read
    put32(to, bounded32(entry.offset));
    to.insert(to.end(), entry.name.begin(), entry.name.end());
    if (far) {
        put16(to, 1);
        put16(to, 8);
        put64(to, entry.offset);
    }
}

void ZipWriter::putEnd(Bytes &to, std::uint64_t directoryAt, std::uint64_t directorySize) const
{
    const std::uint64_t count = m_entries.size();
    if (count >= kFull16 || directoryAt >= kFull32 || directorySize >= kFull32) {
        const std::uint64_t recordAt = directoryAt + directorySize;
        to.insert(to.end(), {'P', 'K', 6, 6});
        put64(to, 44); // what follows of this record
        put16(to, 3 << 8 | kVersion64);
        put16(to, kVersion64);
        put32(to, 0);
        put32(to, 0);
        put64(to, count);
        put64(to, count);
        put64(to, directorySize);
        put64(to, directoryAt);
        to.insert(to.end(), {'P', 'K', 6, 7});
        put32(to, 0);
        put64(to, recordAt);
        put32(to, 1);
    }
    const auto shortCount = static_cast<unsigned>(count < kFull16 ? count : kFull16);
    to.insert(to.end(), {'P', 'K', 5, 6});
    put16(to, 0);
    put16(to, 0);
    put16(to, shortCount);
    put16(to, shortCount);
    put32(to, bounded32(directorySize));
    put32(to, bounded32(directoryAt));
    put16(to, 0);
}

Result<void> ZipWriter::finish()
{
    const std::uint64_t directoryAt = m_sink.size();
    Bytes directory;
    for (const ZipEntry &entry : m_entries)
        putCentralHeader(directory, entry);
    const std::uint64_t directorySize = directory.size();
    putEnd(directory, directoryAt, directorySize);
    return m_sink.write(ByteView(directory));
}

} // namespace korv
