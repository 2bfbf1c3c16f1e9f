#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/files/byte_sink.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace korv {

enum class ZipMethod { Stored, Deflated };

/// A file in an archive.
struct ZipEntry
{
    std::string name;
    std::uint64_t offset = 0; ///< of its local header in the archive
    std::uint32_t checksum = 0;
    std::uint32_t storedSize = 0;
    std::uint32_t size = 0;
    ZipMethod method = ZipMethod::Stored;
    std::uint16_t date = 0; ///< as MS-DOS writes it
    std::uint16_t time = 0;
};

/// A ZIP archive written front to back (PKWARE's APPNOTE.TXT 6.3). Sizes and checksums stand in
/// each local header, so that stream readers need no data descriptors; ZIP64 records appear only
/// where 32 or 16 bits do not suffice.
class ZipWriter
{
public:
    ZipWriter(ByteSink &sink, std::time_t modified);

    /// `name` is ASCII with '/' between folders, and new; `content` is below 4 GiB.
    /// Errors: what the sink answered, -ENOMEM.
    Result<void> add(const std::string &name, ByteView content, ZipMethod method);

    /// Takes a file over from another archive as it is; `record` is its local header with the data.
    Result<void> copy(ZipEntry entry, ByteView record);

    /// Writes the central directory; call it once, last.
    Result<void> finish();

private:
    static void putCommonFields(Bytes &to, const ZipEntry &entry, std::size_t extraLength);
    static void putCentralHeader(Bytes &to, const ZipEntry &entry);
    void putEnd(Bytes &to, std::uint64_t directoryAt, std::uint64_t directorySize) const;

    ByteSink &m_sink;
    std::vector<ZipEntry> m_entries;
    std::uint16_t m_date = 0;
    std::uint16_t m_time = 0;
};

} // namespace korv
