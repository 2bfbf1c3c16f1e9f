#pragma once

#include "app/preview/previewtarget.h"

#include <QImage>
#include <QSize>

/// A frame turned and scaled to exactly the pixels of the screen that it covers, and what it was
/// made for.
struct PreviewPicture
{
    QImage image;
    QSize frameSize; ///< as reported with the frame, not the picture's own
    QSize shape; ///< what the geometry follows: frameSize, unless a side of it is negative
    previewgeometry::Turn turn = previewgeometry::Turn::None;
    QSize area;
    double density = 1;

    bool isMade() const { return !area.isEmpty(); }
    bool isMadeFor(QSize otherFrameSize, const PreviewTarget::Value &target) const
    {
        return isMade() && frameSize == otherFrameSize && turn == target.turn && area == target.area
            && density == target.density;
    }
};
