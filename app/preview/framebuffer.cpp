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
    m_content = {};
}

bool FrameBuffer::Access::grow(std::size_t needed)
{
    Content &frame = content();
    if (frame.block && needed <= frame.capacity)
        return true;
    // Even an empty block is allocated, so that "a frame was announced" differs from "never".
    auto *block = static_cast<std::uint8_t *>(
        std::realloc(frame.block.get(), std::max<std::size_t>(needed, 1)));
    if (block == nullptr)
        return false;
    static_cast<void>(frame.block.release());
    frame.block.reset(block);
    frame.capacity = needed;
    return true;
}

bool FrameBuffer::Access::makeRoom(int width, int height)
{
    Content &frame = content();
    const bool first = !frame.block;
    if (!first && width == frame.width && height == frame.height)
        return true;

    frame.width = width;
    frame.height = height;
    if (!first && (width < 0 || height < 0))
        return true;
    if (first) {
        frame.bufferWidth = width;
        frame.bufferHeight = height;
    } else if (std::int64_t{width} * height
               > std::int64_t{frame.bufferWidth} * frame.bufferHeight) {
        frame.bufferWidth = std::max(frame.bufferWidth, width);
        frame.bufferHeight = std::max(frame.bufferHeight, height);
    }

    // The two maxima are kept apart, so their product may claim more than was ever allocated. The
    // block itself always holds width x height x 3 bytes: a camera library may read that far when
    // it looks for the end of a frame.
    std::size_t needed = 0;
    if (pixelBytes(width, height, needed) && grow(needed))
        return true;
    frame.block.reset();
    frame.capacity = 0;
    frame.length = 0;
    return false;
}

bool FrameBuffer::Access::store(const void *jpeg, int length, PreviewPicture &picture)
{
    Content &frame = content();
    const auto bytes = static_cast<std::size_t>(length);
    if (!grow(bytes))
        return false;
    std::memcpy(frame.block.get(), jpeg, bytes);
    frame.length = length;
    ++frame.storedFrames;
    if (picture.isMade()) {
        std::swap(frame.ready, picture);
        frame.readyFrame = frame.storedFrames;
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
    Content &frame = content();
    if (frame.readyFrame == 0 || frame.readyFrame != frame.storedFrames)
        return false;
    std::swap(frame.ready, picture);
    frame.readyFrame = 0;
    return true;
}
