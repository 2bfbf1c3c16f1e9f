#pragma once

#include "app/preview/framebuffer.h"
#include "app/preview/previewrenderer.h"
#include "util/mutex.h"

#include <QSize>

/// Takes frames from the camera library into the frame buffer. Several threads may deliver at once:
/// the camera that is being left may go on for a while when the next one has started. They take
/// turns, so that at most one frame waits, whoever delivered it.
class FrameReceiver
{
public:
    /// `buffer` is borrowed and must outlive the object.
    explicit FrameReceiver(FrameBuffer &buffer)
        : m_buffer(buffer)
    {
    }

    /// Stores a frame that decodes, with the picture made from it for `target`; drops it while an
    /// older one waits to be painted. `size` is the one reported with the frame. The data stay the
    /// caller's. Returns whether a repaint is due. Any thread.
    bool receive(const void *jpeg, int length, QSize size, PreviewTarget::Value target);

private:
    FrameBuffer &m_buffer;
    Mutex m_turn; ///< sleeps, unlike the frame lock: a picture takes milliseconds to make
    PreviewRenderer m_renderer GUARDED_BY(m_turn);
    PreviewPicture m_picture GUARDED_BY(m_turn);
};
