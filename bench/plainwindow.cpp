#include "bench/plainwindow.h"

#include "app/preview/previewgeometry.h"

#include <QImage>
#include <QPainter>
#include <QTransform>

PlainWindow::PlainWindow(int rotationCode)
    : m_rotationCode(rotationCode)
{
    m_ui.setupUi(this);
}

int PlainWindow::receive(const void *jpeg, int size, int width, int height)
{
    if (m_pending.load() > 0)
        return 0;
    {
        const SpinGuard guard{m_lock};
        const auto *bytes = static_cast<const char *>(jpeg);
        const QImage test = QImage::fromData(reinterpret_cast<const uchar *>(bytes), size, "JPG");
        if (!test.isNull()) {
            m_frame.assign(bytes, bytes + size);
            m_width = width;
            m_height = height;
            m_pending.fetch_add(1);
        }
    }
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
    return 0;
}

void PlainWindow::paintEvent(QPaintEvent *)
{
    QImage image;
    QSize size;
    {
        const SpinGuard guard{m_lock};
        image = QImage::fromData(reinterpret_cast<const uchar *>(m_frame.data()),
                                 static_cast<int>(m_frame.size()), "JPG");
        size = QSize(m_width, m_height);
        if (m_pending.load() > 0)
            m_pending.fetch_sub(1);
    }
    if (image.isNull())
        return;
    using previewgeometry::Turn;
    const Turn turn = previewgeometry::turnOf(m_rotationCode);
    if (previewgeometry::isQuarterTurn(turn))
        image = image.transformed(QTransform().rotate(turn == Turn::Left90 ? -90 : 90));
    else if (turn == Turn::Half)
        image = image.mirrored(true, true);
    QPainter painter(this);
    painter.drawImage(previewgeometry::fitted(size, turn, m_ui.frame->size()), image, image.rect());
    ++m_painted;
}
