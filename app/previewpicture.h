#pragma once

#include "app/previewgeometry.h"

#include <QImage>
#include <QSize>

/// A frame turned and scaled to exactly the pixels that are drawn, and what it was made for.
struct PreviewPicture
{
    QImage image;
    QSize frameSize; ///< as reported with the frame, not the picture's own
    previewgeometry::Turn turn = previewgeometry::Turn::None;
    QSize area;

    bool isMade() const { return !area.isEmpty(); }
    bool isMadeFor(QSize otherFrameSize, previewgeometry::Turn otherTurn, QSize otherArea) const
    {
        return isMade() && frameSize == otherFrameSize && turn == otherTurn && area == otherArea;
    }
};
