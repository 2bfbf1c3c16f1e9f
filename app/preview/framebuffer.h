#pragma once

#include "app/preview/previewpicture.h"
#include "util/spinlock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

/// The newest frame of the running camera, and the picture already made from it.
///
/// Two threads meet here: the camera library's thread stores, the window's thread paints and
/// photographs. A one-byte spin lock guards everything but the count of frames that wait to be
/// painted, which the capture side asks without the lock: at most one frame waits, later ones are
/// dropped until it is painted. The lock is only reachable through an Access, so the code that
/// holds it is a visible block.
class FrameBuffer
{
public:
    FrameBuffer() = default;
    FrameBuffer(const FrameBuffer &) = delete;
    FrameBuffer &operator=(const FrameBuffer &) = delete;

    /// A stored frame has not been painted yet. Any thread, no lock.
    bool waiting() const { return m_pending.load() > 0; }
    std::int32_t pendingCount() const { return m_pending.load(); }

    /// Back to no frame at all. Only before the first camera delivers.
    void reset();

    /// The lock, held. Keep these blocks short: the other thread spins.
    class Access;

private:
    struct Free
    {
        void operator()(std::uint8_t *block) const { std::free(block); }
    };

    struct Content
    {
        int width = 0;
        int height = 0;
        int bufferWidth = 0;
        int bufferHeight = 0;
        int length = 0;
        std::size_t capacity = 0;
        std::unique_ptr<std::uint8_t[], Free> block;
        PreviewPicture ready;
        std::uint64_t storedFrames = 0;
        std::uint64_t readyFrame = 0;
    };

    std::atomic<std::int32_t> m_pending{0};
    SpinLock m_lock;
    Content m_content GUARDED_BY(m_lock);
};

class FrameBuffer::Access
{
public:
    explicit Access(FrameBuffer &buffer)
        : m_buffer(buffer)
        , m_guard(buffer.m_lock)
    {
    }

    /// Records the size of an arriving frame and makes sure the block holds width x height 24-bit
    /// pixels. The block grows only for a frame of more pixels than were ever recorded and never
    /// shrinks. False when there is no memory (or the size is absurd): no frame is held then. A
    /// negative size is recorded and asks for no room: what is held stays.
    bool makeRoom(int width, int height);

    /// Copies a frame that decodes, and marks it as waiting. `picture` is what was made from it and
    /// comes back as an older one whose memory can be used again. Call after makeRoom().
    /// False when a frame longer than the block finds no memory; the old frame stays then.
    bool store(const void *jpeg, int length, PreviewPicture &picture);

    /// One waiting frame fewer, never below none.
    void markPainted();

    /// Exchanges `picture` with the one made from the newest frame, when that has not been taken
    /// yet.
    bool takeNewerPicture(PreviewPicture &picture);

    /// Number of the newest stored frame; 0 before the first.
    std::uint64_t frameNumber() const { return content().storedFrames; }

    /// Null until the first frame arrived.
    std::uint8_t *bytes() const { return content().block.get(); }
    int length() const { return content().length; }
    int width() const { return content().width; }
    int height() const { return content().height; }
    int bufferWidth() const { return content().bufferWidth; }
    int bufferHeight() const { return content().bufferHeight; }

private:
    bool grow(std::size_t needed);

    /// What the lock guards: it is held as long as the Access lives, which clang cannot see.
    Content &content() const NO_THREAD_SAFETY_ANALYSIS { return m_buffer.m_content; }

    FrameBuffer &m_buffer;
    SpinGuard m_guard;
};
