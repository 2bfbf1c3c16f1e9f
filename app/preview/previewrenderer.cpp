#include "app/preview/previewrenderer.h"

#include "app/preview/previewdecoder.h"

#include <QPainter>
#include <QTransform>

using previewgeometry::Turn;

namespace {

QImage turned(QImage image, Turn turn)
{
    switch (turn) {
    case Turn::Left90:
        return image.transformed(QTransform().rotate(-90), Qt::FastTransformation);
    case Turn::Right90:
        return image.transformed(QTransform().rotate(90), Qt::FastTransformation);
    case Turn::Half:
        return std::move(image).mirrored(true, true);
    case Turn::None:
        break;
    }
    return image;
}

/// The pixels of the screen that a frame covers, before its turn.
QSize drawnSize(QSize frameSize, const PreviewTarget::Value &target)
{
    const QSize drawn =
        previewgeometry::fitted(frameSize, target.turn, target.area).size() * target.density;
    return previewgeometry::isQuarterTurn(target.turn) ? drawn.transposed() : drawn;
}

/// Scales into `result`, whose memory is used again when it has the right size.
void scaleInto(QImage &result, const QImage &source, QSize size)
{
    if (result.size() != size || result.format() != source.format() || !result.isDetached())
        result = QImage(size, source.format());
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect({0, 0}, size), source);
}

} // namespace

bool PreviewRenderer::render(const void *jpeg, int length, QSize frameSize,
                             PreviewTarget::Value target, PreviewPicture &picture)
{
    picture.area = {};
    const bool hasSize = frameSize.width() >= 0 && frameSize.height() >= 0;
    const QSize least = hasSize ? drawnSize(frameSize, target) : target.area * target.density;
    if (!previewdecoder::decode(jpeg, length, least, m_decoded))
        return false;
    if (target.area.isEmpty())
        return true;

    picture.shape = hasSize ? frameSize : m_decoded.size();
    const QSize drawn = drawnSize(picture.shape, target);
    if (drawn.isEmpty()) {
        picture.image = {};
    } else if (target.turn == Turn::None) {
        scaleInto(picture.image, m_decoded, drawn);
    } else {
        QImage scaled;
        scaleInto(scaled, m_decoded, drawn);
        picture.image = turned(std::move(scaled), target.turn);
    }
    picture.frameSize = frameSize;
    picture.turn = target.turn;
    picture.area = target.area;
    picture.density = target.density;
    return true;
}
