#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/documents/ofd/zip_writer.h"

#include <string>
#include <vector>

namespace korv {

/// An archive as ZipWriter writes it, without ZIP64 records, read strictly: any other is refused.
/// Errors: -EBADMSG with one of the texts in `refusal`.
class ZipFile
{
public:
    /// `content` is borrowed.
    static Result<ZipFile> open(ByteView content);

    const std::vector<ZipEntry> &entries() const { return m_entries; }
    /// Null when there is no such file.
    const ZipEntry *find(const std::string &name) const;

    /// The local header of a file with its data.
    ByteView record(const ZipEntry &entry) const;
    /// The data as stored.
    ByteView stored(const ZipEntry &entry) const;
    /// The content of a small file, up to 16 MiB; its checksum is compared. Error also: -ENOMEM.
    Result<Bytes> content(const ZipEntry &entry) const;

private:
    explicit ZipFile(ByteView content)
        : m_content(content)
    {
    }
    Result<std::size_t> readDirectoryEntry(std::size_t at, std::size_t end);
    bool hasRecord(const ZipEntry &entry) const;

    ByteView m_content;
    std::vector<ZipEntry> m_entries;
};

} // namespace korv
