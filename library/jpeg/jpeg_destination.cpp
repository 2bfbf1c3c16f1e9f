#include "library/jpeg/jpeg_destination.h"

#include "library/jpeg/jpeg_trap.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

namespace korv::jpeg {

ByteDestination::ByteDestination(std::size_t expected)
    : m_bytes(std::max<std::size_t>(expected, 4096))
{
    m_manager.init_destination = onInit;
    m_manager.empty_output_buffer = onFull;
    m_manager.term_destination = onTerm;
}

void ByteDestination::expect(std::size_t expected)
{
    if (expected > m_bytes.size())
        m_bytes.resize(expected);
}

void ByteDestination::append(ByteView bytes)
{
    expect(m_used + bytes.size);
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_used));
    m_used += bytes.size;
}

Bytes ByteDestination::take()
{
    m_bytes.resize(m_used);
    return std::move(m_bytes);
}

ByteDestination *ByteDestination::self(j_compress_ptr state)
{
    return reinterpret_cast<ByteDestination *>(state->dest);
}

void ByteDestination::onInit(j_compress_ptr state)
{
    self(state)->offer(0);
}

boolean ByteDestination::onFull(j_compress_ptr state)
{
    // libjpeg's rule: the whole buffer counts as written here, whatever the counters say
    ByteDestination *destination = self(state);
    const std::size_t used = destination->m_bytes.size();
    if (!destination->grow())
        static_cast<ErrorTrap *>(state->client_data)->fail(-ENOMEM);
    destination->offer(used);
    return TRUE;
}

void ByteDestination::onTerm(j_compress_ptr state)
{
    ByteDestination *destination = self(state);
    destination->m_used = destination->m_bytes.size() - destination->m_manager.free_in_buffer;
}

bool ByteDestination::grow()
{
    try {
        m_bytes.resize(m_bytes.size() * 2);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void ByteDestination::offer(std::size_t from)
{
    m_manager.next_output_byte = m_bytes.data() + from;
    m_manager.free_in_buffer = m_bytes.size() - from;
}

} // namespace korv::jpeg
