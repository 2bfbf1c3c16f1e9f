#pragma once

#include <unistd.h>
#include <utility>

namespace korv {

/// The same open file under a number above 2, with close-on-exec; the lower one is closed. Where
/// the program has closed standard output or error, a new file gets that number, and whoever prints
/// would write into it. Negative numbers pass. -1 and errno when there is no number left.
int aboveStandardDescriptors(int fd);

/// Owner of a file descriptor, which is never 0, 1 or 2.
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd)
        : m_fd(aboveStandardDescriptors(fd))
    {
    }
    UniqueFd(UniqueFd &&other) noexcept
        : m_fd(other.release())
    {
    }
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    int release() { return std::exchange(m_fd, -1); }
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = aboveStandardDescriptors(fd);
    }

private:
    int m_fd = -1;
};

} // namespace korv
