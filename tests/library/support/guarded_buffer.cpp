#include "tests/library/support/guarded_buffer.h"

#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

GuardedBuffer::GuardedBuffer(korv::ByteView content)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t usable = (content.size + page) / page * page;
    m_size = usable + page;
    m_mapping = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_mapping == MAP_FAILED)
        throw std::runtime_error("mmap");
    auto *bytes = static_cast<std::uint8_t *>(m_mapping);
    if (::mprotect(bytes + usable, page, PROT_NONE) != 0)
        throw std::runtime_error("mprotect");
    std::uint8_t *start = bytes + usable - content.size;
    if (!content.empty())
        std::memcpy(start, content.data, content.size);
    m_view = {start, content.size};
}

GuardedBuffer::~GuardedBuffer()
{
    ::munmap(m_mapping, m_size);
}
