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

    /// Writes the central directory; call it once, last.
    Result<void> finish();

private:
    struct Entry
    {
        std::string name;
        std::uint64_t offset = 0;
        std::uint32_t checksum = 0;
        std::uint32_t storedSize = 0;
        std::uint32_t size = 0;
        ZipMethod method = ZipMethod::Stored;
    };

    void putCommonFields(Bytes &to, const Entry &entry, std::size_t extraLength) const;
    void putCentralHeader(Bytes &to, const Entry &entry) const;
    void putEnd(Bytes &to, std::uint64_t directoryAt, std::uint64_t directorySize) const;

    ByteSink &m_sink;
    std::vector<Entry> m_entries;
    std::uint16_t m_date = 0;
    std::uint16_t m_time = 0;
};

} // namespace korv
