#include "library/files/atomic_file.h"

#include "library/base/log.h"
#include "library/files/file_names.h"
#include "library/files/left_overs.h"
#include "library/files/moves.h"
#include "library/files/new_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;
constexpr int kMaxCopies = 9999; ///< files that differ in the number only

template <typename Call> auto untilNotInterrupted(Call call)
{
    decltype(call()) result;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

std::string pathThroughProc(int fd)
{
    return "/proc/self/fd/" + std::to_string(fd);
}

} // namespace

AtomicFile::AtomicFile(std::string path, Folder folder, Existing existing)
    : m_path(std::move(path))
    , m_name(fileNameOf(m_path))
    , m_existing(existing)
    , m_folder(std::move(folder))
{
    m_buffer.reserve(kBufferSize);
}

AtomicFile::~AtomicFile()
{
    if (!m_temporary.empty())
        m_folder.remove(m_temporary);
}

Error AtomicFile::failure(int positiveErrno, const char *doing) const
{
    return systemError(positiveErrno, doing, " ", m_path);
}

std::string AtomicFile::path() const
{
    return m_path.substr(0, m_path.size() - m_name.size()) + candidate(m_number);
}

std::string AtomicFile::candidate(int number) const
{
    return number == 0 ? m_name : withInsertion(m_name, " (" + std::to_string(number) + ")");
}

void AtomicFile::skipTakenNames()
{
    while (m_number < kMaxCopies && m_folder.holds(candidate(m_number)))
        ++m_number;
}

Result<std::unique_ptr<AtomicFile>> AtomicFile::create(const std::string &path, Existing existing,
                                                       TemporaryKind kind)
{
    try {
        Result<Folder> folder = Folder::open(folderOf(path));
        if (!folder)
            return folder.error();
        std::unique_ptr<AtomicFile> file(new AtomicFile(path, std::move(folder).value(), existing));
        if (file->m_name.empty())
            return file->failure(EISDIR, "create");
        if (existing == Existing::KeepBoth)
            file->skipTakenNames();
        if (kind == TemporaryKind::Named || !file->openNameless()) {
            if (Result<void> opened = file->openNamed(); !opened)
                return opened.error();
        }
        return file;
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory for a file's buffer"};
    }
}

Result<void> AtomicFile::openNameless()
{
    m_file.reset(::openat(m_folder.fd(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, kNewFileMode));
    if (!m_file)
        return failure(errno, "create");
    // without /proc, in a bare chroot for one, it could never get its name
    if (::access(pathThroughProc(m_file.get()).c_str(), F_OK) != 0)
        return failure(errno, "create");
    lockPart(m_file.get());
    return {};
}

Result<void> AtomicFile::openNamed()
{
    Result<PartFile> part = createPart(m_folder);
    if (!part)
        return Error{part.code(), "create " + m_path};
    m_temporary = std::move(part.value().name);
    m_file = std::move(part.value().file);
    return {};
}

Result<void> AtomicFile::writeOut(std::uint64_t offset, ByteView bytes)
{
    std::size_t done = 0;
    while (done < bytes.size) {
        const ssize_t count = untilNotInterrupted([&] {
            return ::pwrite(m_file.get(), bytes.data + done, bytes.size - done,
                            static_cast<off_t>(offset + done));
        });
        if (count < 0)
            return failure(errno, "write");
        if (count == 0)
            return failure(EIO, "write");
        done += static_cast<std::size_t>(count);
    }
    return {};
}

Result<void> AtomicFile::flush()
{
    if (m_buffer.empty())
        return {};
    if (Result<void> written = writeOut(m_flushed, m_buffer); !written)
        return written;
    m_flushed += m_buffer.size();
    m_buffer.clear();
    return {};
}

Result<void> AtomicFile::write(ByteView bytes)
{
    if (m_buffer.size() + bytes.size > kBufferSize) {
        if (Result<void> flushed = flush(); !flushed)
            return flushed;
    }
    if (bytes.size > kBufferSize / 2) {
        if (Result<void> flushed = flush(); !flushed)
            return flushed;
        if (Result<void> written = writeOut(m_flushed, bytes); !written)
            return written;
        m_flushed += bytes.size;
    } else {
        m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
    }
    m_size = std::max<std::uint64_t>(m_size, m_flushed + m_buffer.size());
    return {};
}

Result<void> AtomicFile::writeAt(std::uint64_t offset, ByteView bytes)
{
    if (offset == m_size && m_size == m_flushed + m_buffer.size())
        return write(bytes);
    if (Result<void> flushed = flush(); !flushed)
        return flushed;
    if (Result<void> written = writeOut(offset, bytes); !written)
        return written;
    m_size = std::max<std::uint64_t>(m_size, offset + bytes.size);
    return {};
}

Result<std::size_t> AtomicFile::readAt(std::uint64_t offset, std::uint8_t *to, std::size_t size)
{
    if (Result<void> flushed = flush(); !flushed)
        return flushed.error();
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = untilNotInterrupted([&] {
            return ::pread(m_file.get(), to + done, size - done, static_cast<off_t>(offset + done));
        });
        if (count < 0)
            return failure(errno, "read back");
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Result<void> AtomicFile::linkTo(const std::string &name)
{
    // linkat with AT_EMPTY_PATH needs a privilege; the way through /proc does not (open(2))
    if (::linkat(AT_FDCWD, pathThroughProc(m_file.get()).c_str(), m_folder.fd(), name.c_str(),
                 AT_SYMLINK_FOLLOW)
        != 0)
        return failure(errno, "name");
    return {};
}

Result<void> AtomicFile::rename(const std::string &to)
{
    if (::renameat(m_folder.fd(), m_temporary.c_str(), m_folder.fd(), to.c_str()) != 0)
        return failure(errno, "rename to");
    m_temporary.clear();
    return {};
}

Result<void> AtomicFile::takeName(const std::string &name)
{
    if (m_temporary.empty())
        return linkTo(name);
    Result<void> moved = moveToFreeName(m_folder, m_temporary, m_folder, name);
    if (moved)
        m_temporary.clear();
    return moved;
}

Result<void> AtomicFile::takeFreeName()
{
    for (;; ++m_number) {
        Result<void> taken = takeName(candidate(m_number));
        const bool another = taken.code() == -EEXIST && m_existing == Existing::KeepBoth;
        if (!another || m_number >= kMaxCopies)
            return taken;
    }
}

Result<void> AtomicFile::takeRecoveringOthers()
{
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        Result<void> taken = takeName(m_name);
        if (taken.code() != -EEXIST)
            return taken;
        Result<void> free = makeWay(m_folder, m_path);
        if (!free && free.code() != -ENOENT)
            return free;
    }
    return failure(EEXIST, "name");
}

Result<void> AtomicFile::replace()
{
    if (m_temporary.empty()) {
        Result<void> linked = linkTo(m_name);
        if (linked || linked.code() != -EEXIST)
            return linked;
        for (int attempt = 0; attempt < kNameAttempts && linked.code() == -EEXIST; ++attempt) {
            const std::string name = newPartName();
            linked = linkTo(name);
            if (linked)
                m_temporary = name;
        }
        if (!linked)
            return linked;
    }
    return rename(m_name);
}

Result<void> AtomicFile::nameIt()
{
    const FolderLock lock(m_folder);
    switch (m_existing) {
    case Existing::Replace:
        return replace();
    case Existing::Recover:
        return takeRecoveringOthers();
    case Existing::KeepBoth:
    case Existing::Refuse:
        break;
    }
    return takeFreeName();
}

Result<void> AtomicFile::commit()
{
    if (Result<void> flushed = flush(); !flushed)
        return flushed;
    if (untilNotInterrupted([&] { return ::fsync(m_file.get()); }) != 0)
        return failure(errno, "sync");
    if (Result<void> named = nameIt(); !named)
        return named;
    m_named = true;
    if (m_number != 0)
        logLine(LogLevel::Info, m_path + " exists; writing " + path() + " instead");
    // the name is there already
    if (Result<void> synced = m_folder.sync(m_file.get()); !synced)
        return Error{synced.code(), "sync the folder of " + m_path};
    return {};
}

Result<void> AtomicFile::commitAs(const std::string &name)
{
    m_path = m_path.substr(0, m_path.size() - m_name.size()) + name;
    m_name = name;
    return commit();
}

Result<void> writeFileAtomically(const std::string &path, ByteView content, Existing existing)
{
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(path, existing);
    if (!file)
        return file.error();
    if (Result<void> written = file.value()->write(content); !written)
        return written;
    return file.value()->commit();
}

} // namespace korv
