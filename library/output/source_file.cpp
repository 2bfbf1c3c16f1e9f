#include "library/output/source_file.h"

#include "library/base/unique_fd.h"

#include <cerrno>
#include <cstdint>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::int64_t kLargestFile = std::int64_t{2} << 30;

Result<void> readAll(int fd, Bytes &content, const std::string &path)
{
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = ::read(fd, content.data() + done, content.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemError(errno, "read " + path);
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    content.resize(done);
    return {};
}

} // namespace

Result<void> readSourceFile(const std::string &path, Bytes &content)
{
    // O_NONBLOCK: opening a FIFO must not wait for its writer; regular files do not care
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file)
        return systemError(errno, "open " + path);
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        return systemError(errno, "stat " + path);
    if (S_ISDIR(status.st_mode))
        return Error{-EISDIR, path + " is a folder"};
    if (!S_ISREG(status.st_mode))
        return Error{-EINVAL, path + " is not a regular file"};
    if (status.st_size > kLargestFile)
        return Error{-EFBIG, path + " is too large"};
    try {
        content.resize(static_cast<std::size_t>(status.st_size));
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory to read " + path};
    }
    return readAll(file.get(), content, path);
}

} // namespace korv
