#include "app/preview/framebuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace {

/// Sizes are 32-bit by contract; a picture that does not fit is refused instead of wrapping round.
bool pixelBytes(int width, int height, std::size_t &bytes)
{
    const std::int64_t pixels = std::int64_t{width} * height;
    if (width < 0 || height < 0 || pixels > std::numeric_limits<std::int32_t>::max() / 3)
        return false;
    bytes = static_cast<std::size_t>(pixels) * 3;
    return true;
}

} // namespace

void FrameBuffer::reset()
{
    m_pending.store(0);
    const SpinGuard guard{m_lock};
    m_block.reset();
    m_capacity = 0;
    m_width = m_height = m_bufferWidth = m_bufferHeight = m_length = 0;
    m_storedFrames = m_readyFrame = 0;
}

bool FrameBuffer::Access::grow(std::size_t needed)
{
    if (m_buffer.m_block && needed <= m_buffer.m_capacity)
        return true;
    // A block of nothing still is a block: "a frame was announced" is told from "never".
    auto *block = static_cast<std::uint8_t *>(
        std::realloc(m_buffer.m_block.get(), std::max<std::size_t>(needed, 1)));
    if (block == nullptr)
        return false;
    static_cast<void>(m_buffer.m_block.release());
    m_buffer.m_block.reset(block);
    m_buffer.m_capacity = needed;
    return true;
}

bool FrameBuffer::Access::makeRoom(int width, int height)
{
    const bool first = !m_buffer.m_block;
    if (!first && width == m_buffer.m_width && height == m_buffer.m_height)
        return true;

    m_buffer.m_width = width;
    m_buffer.m_height = height;
    if (!first && (width < 0 || height < 0))
        return true;
    if (first) {
        m_buffer.m_bufferWidth = width;
        m_buffer.m_bufferHeight = height;
    } else if (std::int64_t{width} * height
               > std::int64_t{m_buffer.m_bufferWidth} * m_buffer.m_bufferHeight) {
        m_buffer.m_bufferWidth = std::max(m_buffer.m_bufferWidth, width);
        m_buffer.m_bufferHeight = std::max(m_buffer.m_bufferHeight, height);
    }

    // The two maxima are kept apart, so their product may claim more than was ever allocated. The
    // block itself always holds width x height x 3 bytes: a camera library may read that far when
    // it looks for the end of a frame.
    std::size_t needed = 0;
    if (pixelBytes(width, height, needed) && grow(needed))
        return true;
    m_buffer.m_block.reset();
    m_buffer.m_capacity = 0;
    m_buffer.m_length = 0;
    return false;
}

bool FrameBuffer::Access::store(const void *jpeg, int length, PreviewPicture &picture)
{
    const auto bytes = static_cast<std::size_t>(length);
    if (!grow(bytes))
        return false;
    std::memcpy(m_buffer.m_block.get(), jpeg, bytes);
    m_buffer.m_length = length;
    ++m_buffer.m_storedFrames;
    if (picture.isMade()) {
        std::swap(m_buffer.m_ready, picture);
        m_buffer.m_readyFrame = m_buffer.m_storedFrames;
    }
    m_buffer.m_pending.fetch_add(1);
    return true;
}

void FrameBuffer::Access::markPainted()
{
    if (m_buffer.m_pending.load() > 0)
        m_buffer.m_pending.fetch_sub(1);
}

bool FrameBuffer::Access::takeNewerPicture(PreviewPicture &picture)
{
    if (m_buffer.m_readyFrame == 0 || m_buffer.m_readyFrame != m_buffer.m_storedFrames)
        return false;
    std::swap(m_buffer.m_ready, picture);
    m_buffer.m_readyFrame = 0;
    return true;
}
