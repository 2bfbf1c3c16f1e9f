#pragma once

#include "app/previewgeometry.h"
#include "app/previewpicture.h"

#include <QImage>
#include <QSize>

#include <atomic>
#include <cstdint>

/// What the window wants to draw, told to the thread that prepares the picture. One word, so that
/// it is read and written without a lock. The area is bounded by what a screen can be (16 bits a
/// side).
class PreviewTarget
{
public:
    struct Value
    {
        previewgeometry::Turn turn = previewgeometry::Turn::None;
        QSize area; ///< empty until the window was painted once
    };

    void set(previewgeometry::Turn turn, QSize area);
    Value get() const;

private:
    std::atomic<std::uint64_t> m_word{0};
};

/// Makes preview pictures from JPEG frames with one decode at the smallest sufficient scale. Keeps
/// its scratch memory between frames. Each thread uses its own.
class PreviewRenderer
{
public:
    /// Decodes `length` bytes and prepares `picture` for `target`. `frameSize` is the size reported
    /// with the frame; it alone drives the geometry.
    /// Returns whether the frame is a valid picture, with the verdict that QImage would give.
    /// Without an area the frame is only judged, and `picture` is left unmade.
    bool render(const void *jpeg, int length, QSize frameSize, PreviewTarget::Value target,
                PreviewPicture &picture);

private:
    QImage m_decoded;
};
