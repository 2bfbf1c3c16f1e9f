#include "library/files/source_file.h"

#include <cerrno>
#include <cstdint>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::int64_t kMaxFileSize = std::int64_t{2} << 30;

} // namespace

Result<SourceFile> SourceFile::open(const std::string &path)
{
    // O_NONBLOCK: opening a FIFO must not wait for its writer; regular files do not care
    UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file)
        return systemError(errno, "open ", path);
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        return systemError(errno, "stat ", path);
    if (S_ISDIR(status.st_mode))
        return Error{-EISDIR, path + " is a folder"};
    if (!S_ISREG(status.st_mode))
        return Error{-EINVAL, path + " is not a regular file"};
    if (status.st_size > kMaxFileSize)
        return Error{-EFBIG, path + " is too large"};
    return SourceFile(path, std::move(file), static_cast<std::size_t>(status.st_size));
}

Result<void> SourceFile::read(std::size_t offset, std::size_t size, Bytes &content) const
{
    try {
        content.resize(size);
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory to read " + m_path};
    }
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::pread(m_file.get(), content.data() + done, size - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemError(errno, "read ", m_path);
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    content.resize(done);
    return {};
}

Result<void> readSourceFile(const std::string &path, Bytes &content)
{
    const Result<SourceFile> file = SourceFile::open(path);
    if (!file)
        return file.error();
    return file.value().read(0, file.value().size(), content);
}

} // namespace korv
