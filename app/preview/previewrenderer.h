#pragma once

#include "app/preview/previewpicture.h"
#include "app/preview/previewtarget.h"

#include <QImage>
#include <QSize>

/// Makes preview pictures from JPEG frames with one decode at the smallest sufficient scale. Keeps
/// its scratch memory between frames. Each thread uses its own.
class PreviewRenderer
{
public:
    /// Decodes `length` bytes and prepares `picture` for `target`. `frameSize` is the size reported
    /// with the frame; it alone drives the geometry, unless a side is negative: the picture keeps
    /// its own shape then.
    /// Returns whether the frame is a valid picture, with the verdict that QImage would give.
    /// Without an area the frame is only judged, and `picture` is left unmade.
    bool render(const void *jpeg, int length, QSize frameSize, PreviewTarget::Value target,
                PreviewPicture &picture);

private:
    QImage m_decoded;
};
