#include "library/image/pixel_memory.h"

#include <cstring>
#include <new>

namespace korv {

PixelMemory::PixelMemory(std::size_t size, Content content)
    : m_size(size)
{
    if (size == 0)
        return;
    void *bytes = content == Content::Zero ? std::calloc(size, 1) : std::malloc(size);
    if (!bytes)
        throw std::bad_alloc();
    m_bytes.reset(static_cast<std::uint8_t *>(bytes));
}

PixelMemory::PixelMemory(const PixelMemory &other)
    : PixelMemory(other.empty() ? 0 : other.m_size, Content::Any)
{
    if (m_bytes)
        std::memcpy(m_bytes.get(), other.m_bytes.get(), m_size);
}

PixelMemory &PixelMemory::operator=(const PixelMemory &other)
{
    if (this != &other)
        *this = PixelMemory(other);
    return *this;
}

} // namespace korv
