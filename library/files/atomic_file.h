#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/base/unique_fd.h"
#include "library/files/byte_sink.h"
#include "library/files/folder.h"

#include <memory>
#include <string>

namespace korv {

/// What happens to a file that has the wanted name already.
enum class Existing {
    Replace, ///< the new file takes its place, at once
    Recover, ///< it makes way: it is called "recovered-0001.jpg" from then on, see makeWay()
    KeepBoth, ///< it stays; the new file is called "name (1).ext", "name (2).ext", ...
    Refuse, ///< it stays; commit() answers -EEXIST
};

/// How the unfinished file lies in its folder. Nameless files vanish by themselves, even when the
/// process is killed; not every file system has them.
enum class TemporaryKind { NamelessIfPossible, Named };

/// Writes a file whole or not at all, see AtomicFile.
/// Errors: what the system answered (-ENOENT folder, -ENOSPC, ...).
Result<void> writeFileAtomically(const std::string &path, ByteView content, Existing existing);

/// A file that gets its name only when commit() is called, after its content is on the disk.
/// Destruction without commit() leaves nothing behind. One thread at a time.
class AtomicFile : public ByteSink
{
public:
    /// Begins a file that will be called `path`, or with Existing::KeepBoth by the next free name.
    /// Errors: what the system answered.
    static Result<std::unique_ptr<AtomicFile>>
    create(const std::string &path, Existing existing,
           TemporaryKind kind = TemporaryKind::NamelessIfPossible);

    ~AtomicFile() override;
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    using ByteSink::write;
    Result<void> write(ByteView bytes) override;
    Result<void> writeAt(std::uint64_t offset, ByteView bytes) override;
    Result<std::size_t> readAt(std::uint64_t offset, std::uint8_t *to, std::size_t size) override;
    std::uint64_t size() const override { return m_size; }

    /// Syncs the content, gives the file its name, syncs the folder. Another program that takes the
    /// name at the same moment loses nothing, except with Existing::Replace; with Existing::Recover
    /// that is said of programs that use this library on this machine. A name that differs
    /// from the wanted one is told on standard error.
    /// After a failure older files are as they were. Only when syncing the folder fails, the last
    /// step, does the whole new file stay under its name; isNamed() tells.
    Result<void> commit();

    /// The same under another name in the folder, for callers that have many to choose from: after
    /// -EEXIST it may be called again with the next one. With Existing::Refuse.
    Result<void> commitAs(const std::string &name);

    /// Whether the file has its name: then it is whole, and stays.
    bool isNamed() const { return m_named; }

    /// The path it has, or before commit() the one it will probably get.
    std::string path() const;

private:
    AtomicFile(std::string path, Folder folder, Existing existing);

    Result<void> openNameless();
    Result<void> openNamed();
    Result<void> flush();
    Result<void> writeOut(std::uint64_t offset, ByteView bytes);
    std::string candidate(int number) const;
    void skipTakenNames();
    Result<void> nameIt();
    Result<void> takeFreeName();
    Result<void> takeRecoveringOthers();
    Result<void> takeName(const std::string &name);
    Result<void> linkTo(const std::string &name);
    Result<void> replace();
    Result<void> rename(const std::string &to);
    Error failure(int positiveErrno, const char *doing) const;

    std::string m_path; ///< as wanted
    std::string m_name; ///< within the folder, as wanted
    std::string m_temporary; ///< name to remove; empty when there is none
    int m_number = 0; ///< which candidate the file is or will be; 0 is the wanted name
    Existing m_existing;
    bool m_named = false;
    Folder m_folder;
    UniqueFd m_file;
    Bytes m_buffer; ///< small writes gathered; they belong behind m_flushed
    std::uint64_t m_flushed = 0; ///< position of the buffer's first byte in the file
    std::uint64_t m_size = 0;
};

} // namespace korv
