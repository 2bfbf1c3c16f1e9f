#include "library/base/event_fd.h"

#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>

namespace korv {

Result<EventFd> EventFd::create()
{
    UniqueFd fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!fd)
        return systemError(errno, "eventfd");
    return EventFd(std::move(fd));
}

void EventFd::set() const
{
    const std::uint64_t one = 1;
    // the counter cannot overflow in practice, and a full one is readable just as well
    while (::write(m_fd.get(), &one, sizeof(one)) < 0 && errno == EINTR) { }
}

void EventFd::clear() const
{
    std::uint64_t count = 0;
    while (::read(m_fd.get(), &count, sizeof(count)) < 0 && errno == EINTR) { }
}

} // namespace korv
