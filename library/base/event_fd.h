#pragma once

#include "library/base/result.h"
#include "library/base/unique_fd.h"

namespace korv {

/// A flag that a thread can poll(2) for together with other descriptors (eventfd(2)). Once set it
/// stays set until it is cleared.
class EventFd
{
public:
    /// -EMFILE, -ENFILE, -ENOMEM.
    static Result<EventFd> create();

    int fd() const { return m_fd.get(); }
    /// Any thread.
    void set() const;
    /// Any thread; what is set later is not lost.
    void clear() const;

private:
    explicit EventFd(UniqueFd fd)
        : m_fd(std::move(fd))
    {
    }

    UniqueFd m_fd;
};

} // namespace korv
