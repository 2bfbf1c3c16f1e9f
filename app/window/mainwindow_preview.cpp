#include "app/window/mainwindow.h"

#include "ui/ui_mainwindow.h"

#include <QPaintEvent>
#include <QPainter>

#include <cstdio>
#include <vector>

int MainWindow::CameraCpatureReciveCB(void *data, int size, int width, int height)
{
    std::printf("data:%p size:%d w:%d h:%d\n", data, size, width, height);
    MainWindow &window = *gMainWindow;
    if (window.m_receiver.receive(data, size, QSize(width, height), window.m_previewTarget.get()))
        window.requestRepaint();
    return 0;
}

void MainWindow::requestRepaint()
{
    // Widgets are not thread-safe, and a full update would repaint every one of them.
    QMetaObject::invokeMethod(
        this, [this] { update(previewRectangle()); }, Qt::QueuedConnection);
}

QRect MainWindow::previewRectangle() const
{
    // The picture is drawn on the window itself, in the window's coordinates: only the area's size
    // counts, not its place.
    return ui ? QRect({0, 0}, ui->frame->size()) : QRect();
}

void MainWindow::paintEvent(QPaintEvent *)
{
    const int rotationCode = ui->rotatestylecomb->currentData(Qt::UserRole).toInt();
    m_previewTarget.set(
        {previewgeometry::turnOf(rotationCode), ui->frame->size(), devicePixelRatioF()});
    // as the other thread reads it: the density is rounded
    const PreviewTarget::Value target = m_previewTarget.get();
    if (!refreshFrontPicture(target))
        return;
    const QRect drawn = previewgeometry::fitted(m_frontPicture.shape, target.turn, target.area);
    if (!drawn.isEmpty()) {
        QPainter painter(this);
        painter.drawImage(drawn, m_frontPicture.image, m_frontPicture.image.rect());
    }
    std::puts("display the image");
}

/// Brings m_frontPicture up to the stored frame and to `target`. False when there is no picture.
bool MainWindow::refreshFrontPicture(PreviewTarget::Value target)
{
    std::vector<char> jpeg;
    QSize frameSize;
    std::uint64_t number = 0;
    {
        FrameBuffer::Access frame{m_frame};
        frameSize = QSize(frame.width(), frame.height());
        number = frame.frameNumber();
        if (frame.takeNewerPicture(m_frontPicture))
            m_frontFrame = number;
        // Made for another size or rotation, or not made at all: make it here, once.
        if (number != 0 && frame.bytes() != nullptr
            && (m_frontFrame != number || !m_frontPicture.isMadeFor(frameSize, target))) {
            const auto *bytes = reinterpret_cast<const char *>(frame.bytes());
            jpeg.assign(bytes, bytes + frame.length());
        }
        frame.markPainted();
        if (frame.bytes() == nullptr)
            return false;
    }
    if (!jpeg.empty()) {
        m_frontFrame = number;
        if (!m_paintRenderer.render(jpeg.data(), static_cast<int>(jpeg.size()), frameSize, target,
                                    m_frontPicture))
            m_frontPicture = {};
    }
    return number != 0 && m_frontFrame == number && m_frontPicture.isMade();
}
