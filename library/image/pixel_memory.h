#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace korv {

/// A picture's bytes. A value: copies copy them. Large ones come straight from the kernel, which
/// hands them out as zeros, so that nobody writes zeros once more.
class PixelMemory
{
public:
    enum class Content {
        Zero,
        Any, ///< for an owner who writes every byte
    };

    PixelMemory() = default;
    /// Throws std::bad_alloc.
    PixelMemory(std::size_t size, Content content);
    ~PixelMemory() = default;
    PixelMemory(const PixelMemory &other);
    PixelMemory &operator=(const PixelMemory &other);
    PixelMemory(PixelMemory &&) = default;
    PixelMemory &operator=(PixelMemory &&) = default;

    bool empty() const { return !m_bytes; }
    std::uint8_t *data() { return m_bytes.get(); }
    const std::uint8_t *data() const { return m_bytes.get(); }

private:
    struct Free
    {
        void operator()(std::uint8_t *bytes) const { std::free(bytes); }
    };

    std::unique_ptr<std::uint8_t[], Free> m_bytes;
    std::size_t m_size = 0; ///< only meant while there are bytes
};

} // namespace korv
