#include "library/base/unique_fd.h"

#include <cerrno>
#include <fcntl.h>

namespace korv {

int aboveStandardDescriptors(int fd)
{
    if (fd < 0 || fd > STDERR_FILENO)
        return fd;
    const int higher = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int reason = errno;
    ::close(fd);
    errno = reason;
    return higher;
}

} // namespace korv
