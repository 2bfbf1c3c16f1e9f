#pragma once

#include <unistd.h>
#include <utility>

namespace cli {

/// Owns an open file descriptor, or none.
class Descriptor
{
public:
    explicit Descriptor(int descriptor = -1)
        : m_descriptor(descriptor)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() { reset(); }

    explicit operator bool() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

    /// Gives up the ownership.
    int release() { return std::exchange(m_descriptor, -1); }

    void reset()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
        m_descriptor = -1;
    }

private:
    int m_descriptor;
};

} // namespace cli
