#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/base/unique_fd.h"
#include "library/output/byte_sink.h"

#include <memory>
#include <string>

namespace korv {

/// Writes a file whole or not at all: a temporary file in the same folder, synced, then renamed.
/// An existing file is replaced. Errors: what the system answered (-ENOENT folder, -ENOSPC, ...).
Result<void> writeFileAtomically(const std::string &path, ByteView content);

/// How the unfinished file lies in its folder. Nameless files vanish by themselves, even when the
/// process is killed; not every file system has them.
enum class TemporaryKind { NamelessIfPossible, Named };

/// A file that gets its name only when commit() is called. Destruction without commit() leaves
/// nothing behind. One thread at a time.
class AtomicFile : public ByteSink
{
public:
    /// Begins a file that will be called `path`. Errors: what the system answered.
    static Result<std::unique_ptr<AtomicFile>>
    create(const std::string &path, TemporaryKind kind = TemporaryKind::NamelessIfPossible);

    ~AtomicFile() override;
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    using ByteSink::write;
    Result<void> write(ByteView bytes) override;
    Result<void> writeAt(std::uint64_t offset, ByteView bytes) override;
    Result<std::size_t> readAt(std::uint64_t offset, std::uint8_t *to, std::size_t size) override;
    std::uint64_t size() const override { return m_size; }

    /// Syncs the content, gives the file its name in place of an existing one, syncs the folder.
    /// After a failure the old file, if any, is as it was.
    Result<void> commit();

private:
    AtomicFile(std::string path, UniqueFd folder);

    Result<void> openNameless();
    Result<void> openNamed();
    Result<void> flush();
    Result<void> writeOut(std::uint64_t offset, ByteView bytes);
    Result<void> nameIt();
    Result<void> linkTo(const std::string &name);
    Result<void> replaceBy(const std::string &temporary);
    Error failure(int positiveErrno, const char *doing) const;

    std::string m_path; ///< for messages
    std::string m_name; ///< within the folder
    std::string m_temporary; ///< name to remove; empty when there is none
    UniqueFd m_folder;
    UniqueFd m_file;
    Bytes m_buffer; ///< small writes gathered; they belong behind m_flushed
    std::uint64_t m_flushed = 0; ///< position of the buffer's first byte in the file
    std::uint64_t m_size = 0;
};

} // namespace korv
