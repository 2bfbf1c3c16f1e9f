#include "app/preview/framereceiver.h"

bool FrameReceiver::receive(const void *jpeg, int length, QSize size, PreviewTarget::Value target)
{
    if (m_buffer.waiting())
        return false; // the last frame is not painted yet: drop this one
    const MutexLock turn(m_turn);
    // Another thread's frame may have come while this one waited for its turn.
    if (m_buffer.waiting())
        return false;

    // All work on the picture happens before the lock: painting and photographs never wait for it.
    const bool isPicture = m_renderer.render(jpeg, length, size, target, m_picture);
    FrameBuffer::Access frame{m_buffer};
    if (frame.makeRoom(size.width(), size.height()) && isPicture)
        frame.store(jpeg, length, m_picture);
    return true;
}
