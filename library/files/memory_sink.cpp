#include "library/files/memory_sink.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace korv {

Result<void> MemorySink::write(ByteView bytes)
{
    return writeAt(m_bytes.size(), bytes);
}

Result<void> MemorySink::writeAt(std::uint64_t offset, ByteView bytes)
{
    try {
        const auto at = static_cast<std::size_t>(offset);
        if (at == m_bytes.size()) {
            m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
            return {};
        }
        m_bytes.resize(std::max(m_bytes.size(), at + bytes.size));
        std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(at));
        return {};
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory for a written picture"};
    }
}

Result<std::size_t> MemorySink::readAt(std::uint64_t offset, std::uint8_t *to, std::size_t size)
{
    if (offset >= m_bytes.size())
        return std::size_t{0};
    const std::size_t count = std::min(size, m_bytes.size() - static_cast<std::size_t>(offset));
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, to);
    return count;
}

} // namespace korv
