#include "tests/app/window/windowfixture.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr QRgb kRed = 0xffe02020;
constexpr QRgb kGreen = 0xff20c020;
constexpr QRgb kBlue = 0xff2020e0;
constexpr QRgb kYellow = 0xffe0e020;

/// Quarters: red left top, green right top, blue left bottom, yellow right bottom.
QImage quarters(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int w = size.width() / 2;
    const int h = size.height() / 2;
    painter.fillRect(0, 0, w, h, QColor(kRed));
    painter.fillRect(w, 0, size.width() - w, h, QColor(kGreen));
    painter.fillRect(0, h, w, size.height() - h, QColor(kBlue));
    painter.fillRect(w, h, size.width() - w, size.height() - h, QColor(kYellow));
    return image;
}

bool isNear(QRgb one, QRgb other)
{
    return qAbs(qRed(one) - qRed(other)) < 24 && qAbs(qGreen(one) - qGreen(other)) < 24
        && qAbs(qBlue(one) - qBlue(other)) < 24;
}

} // namespace

class PreviewTest : public WindowTest
{
protected:
    PreviewTest()
    {
        m_window->FreshCamRotateTypeWidget();
        m_window->show();
        runQueued();
        // The frame's own child widgets would hide the picture's corners.
        m_area = m_window->ui->frame->size();
        m_output.take();
    }

    static QByteArray encoded(const QImage &image)
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "JPG", 95);
        return bytes;
    }

    static int deliver(QByteArray frame, QSize size)
    {
        return MainWindow::CameraCpatureReciveCB(frame.data(), frame.size(), size.width(),
                                                 size.height());
    }

    /// What the window itself paints, without its children.
    QImage painted()
    {
        QImage image(m_window->size(), QImage::Format_RGB32);
        image.fill(Qt::black);
        m_window->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
        return image;
    }

    int paintedFrames()
    {
        return static_cast<int>(
            QString::fromStdString(traces()).count(QStringLiteral("display the image\n")));
    }

    QRect expectedRectangle(QSize frame) const
    {
        const double scale =
            qMax(frame.width() / double(m_area.width()), frame.height() / double(m_area.height()));
        const int w = qMin(m_area.width(), int(frame.width() / scale));
        const int h = qMin(m_area.height(), int(frame.height() / scale));
        return {(m_area.width() - w) / 2, (m_area.height() - h) / 2, w, h};
    }

    /// The four quarters of the painted picture in reading order.
    std::vector<QRgb> corners(QRect drawn)
    {
        const QImage image = painted();
        const int dx = drawn.width() / 4;
        const int dy = drawn.height() / 4;
        return {image.pixel(drawn.left() + dx, drawn.top() + dy),
                image.pixel(drawn.right() - dx, drawn.top() + dy),
                image.pixel(drawn.left() + dx, drawn.bottom() - dy),
                image.pixel(drawn.right() - dx, drawn.bottom() - dy)};
    }

    void expectCorners(QRect drawn, const std::vector<QRgb> &expected)
    {
        const std::vector<QRgb> seen = corners(drawn);
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_TRUE(isNear(seen[i], expected[i]))
                << i << ": " << std::hex << seen[i] << " for " << expected[i];
    }

    QSize m_area;
};

TEST_F(PreviewTest, everyFrameIsTraced)
{
    QByteArray frame = jpeg({64, 48});
    MainWindow::CameraCpatureReciveCB(frame.data(), frame.size(), 64, 48);
    const QString text = QString::fromStdString(traces());
    const QRegularExpression line(
        QStringLiteral("^data:0x[0-9a-f]+ size:%1 w:64 h:48\n$").arg(frame.size()));
    EXPECT_TRUE(line.match(text).hasMatch()) << text.toStdString();
}

TEST_F(PreviewTest, nothingIsDrawnBeforeTheFirstFrame)
{
    painted();
    EXPECT_EQ(paintedFrames(), 0);
}

TEST_F(PreviewTest, framesAreDroppedWhileOneWaits)
{
    EXPECT_EQ(deliver(jpeg({64, 48}), {64, 48}), 0);
    EXPECT_EQ(m_window->m_frame.pendingCount(), 1);
    EXPECT_EQ(deliver(jpeg({32, 24}), {32, 24}), 0);
    EXPECT_EQ(m_window->m_frame.pendingCount(), 1);
    {
        const FrameBuffer::Access frame{m_window->m_frame};
        EXPECT_EQ(frame.width(), 64);
    }
    runQueued();
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
    deliver(jpeg({32, 24}), {32, 24});
    const FrameBuffer::Access frame{m_window->m_frame};
    EXPECT_EQ(frame.width(), 32);
}

TEST_F(PreviewTest, aRepaintIsAskedForAndShowsTheFrame)
{
    deliver(jpeg({64, 48}), {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
    runQueued();
    EXPECT_EQ(paintedFrames(), 0);
}

TEST_F(PreviewTest, aDroppedFrameAsksForNoRepaint)
{
    deliver(jpeg({64, 48}), {64, 48});
    deliver(jpeg({64, 48}), {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
}

TEST_F(PreviewTest, aBrokenFrameStoresNothingButRepaintsTheOldOne)
{
    const QByteArray good = jpeg({64, 48}, kRed);
    deliver(good, {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
    deliver(QByteArray("no picture at all"), {64, 48});
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
    {
        const FrameBuffer::Access frame{m_window->m_frame};
        ASSERT_EQ(frame.length(), good.size());
        EXPECT_EQ(std::memcmp(frame.bytes(), good.constData(), std::size_t(good.size())), 0);
    }
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
}

TEST_F(PreviewTest, aBrokenFrameOfAnotherSizeStretchesTheOldPicture)
{
    deliver(encoded(quarters({400, 300})), {400, 300});
    runQueued();
    deliver(QByteArray("broken"), {300, 300});
    runQueued();
    // the recorded size drives the geometry
    expectCorners(expectedRectangle({300, 300}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, pictureStandsAtWindowCoordinates)
{
    deliver(encoded(quarters({800, 300})), {800, 300});
    runQueued();
    const QRect drawn = expectedRectangle({800, 300});
    EXPECT_GT(drawn.top(), 20);
    expectCorners(drawn, {kRed, kGreen, kBlue, kYellow});
    const QImage image = painted();
    EXPECT_FALSE(isNear(image.pixel(drawn.left() + 9, drawn.top() - 2), kRed));
    EXPECT_TRUE(isNear(image.pixel(drawn.left() + 9, drawn.top() + 2), kRed));
}

TEST_F(PreviewTest, rotationModesTurnAsLabelled)
{
    const QByteArray frame = encoded(quarters({400, 300}));
    const struct
    {
        int index;
        QSize turned;
        std::vector<QRgb> corners;
    } rows[] = {
        {0, {400, 300}, {kRed, kGreen, kBlue, kYellow}},
        {1, {300, 400}, {kGreen, kYellow, kRed, kBlue}},
        {2, {300, 400}, {kBlue, kRed, kYellow, kGreen}},
        {3, {400, 300}, {kYellow, kBlue, kGreen, kRed}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.index);
        m_window->ui->rotatestylecomb->setCurrentIndex(row.index);
        deliver(frame, {400, 300});
        runQueued();
        expectCorners(expectedRectangle(row.turned), row.corners);
    }
}

TEST_F(PreviewTest, oddRotationCodesTurnByHalf)
{
    QComboBox &selector = *m_window->ui->rotatestylecomb;
    selector.addItem(QStringLiteral("odd"), 7);
    selector.addItem(QStringLiteral("minus one"), -1);
    deliver(encoded(quarters({400, 300})), {400, 300});
    runQueued();
    selector.setCurrentIndex(4);
    expectCorners(expectedRectangle({400, 300}), {kYellow, kBlue, kGreen, kRed});
    selector.setCurrentIndex(5);
    expectCorners(expectedRectangle({400, 300}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, rotationChangedWithoutANewFrameTurnsTheStoredOne)
{
    deliver(encoded(quarters({400, 300})), {400, 300});
    runQueued();
    m_window->ui->rotatestylecomb->setCurrentIndex(2);
    expectCorners(expectedRectangle({300, 400}), {kBlue, kRed, kYellow, kGreen});
}

TEST_F(PreviewTest, resizedWindowFitsTheStoredFrameAnew)
{
    deliver(encoded(quarters({400, 300})), {400, 300});
    runQueued();
    m_window->resize(1300, 900);
    runQueued();
    ASSERT_NE(m_window->ui->frame->size(), m_area);
    m_area = m_window->ui->frame->size();
    expectCorners(expectedRectangle({400, 300}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, repaintWithoutANewFrameDecodesNothing)
{
    deliver(encoded(quarters({400, 300})), {400, 300});
    runQueued();
    const QRect drawn = expectedRectangle({400, 300});
    expectCorners(drawn, {kRed, kGreen, kBlue, kYellow});
    {
        // Were the stored bytes decoded again, there would be no picture any more.
        const FrameBuffer::Access frame{m_window->m_frame};
        std::memset(frame.bytes(), 0, std::size_t(frame.length()));
    }
    expectCorners(drawn, {kRed, kGreen, kBlue, kYellow});
    m_window->ui->rotatestylecomb->setCurrentIndex(1);
    traces();
    painted();
    EXPECT_EQ(paintedFrames(), 0) << "the change of rotation was expected to need the frame";
}

TEST_F(PreviewTest, smallFrameFillsTheArea)
{
    deliver(encoded(quarters({32, 24})), {32, 24});
    runQueued();
    expectCorners(expectedRectangle({32, 24}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, lastFrameStaysAfterTheCameraIsClosed)
{
    m_window->hide();
    openOneCamera();
    m_window->show();
    QByteArray frame = encoded(quarters({400, 300}));
    fake_emit_frame_on_thread(frame.data(), frame.size(), 400, 300);
    runQueued();
    m_window->CloseCamera(m_window->m_cameras.front());
    expectCorners(expectedRectangle({400, 300}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, frameSizesAreRecordedAsReported)
{
    // a picture smaller than reported: the reported size counts
    deliver(encoded(quarters({100, 100})), {200, 100});
    runQueued();
    expectCorners(expectedRectangle({200, 100}), {kRed, kGreen, kBlue, kYellow});
}

TEST_F(PreviewTest, absurdSizeIsNeitherStoredNorDrawn)
{
    deliver(jpeg({64, 48}), {65536, 65536});
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
    runQueued();
    EXPECT_EQ(paintedFrames(), 0);
    deliver(jpeg({64, 48}), {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
}

TEST_F(PreviewTest, frameWithoutDataIsRefused)
{
    EXPECT_EQ(MainWindow::CameraCpatureReciveCB(nullptr, 0, 64, 48), 0);
    EXPECT_EQ(MainWindow::CameraCpatureReciveCB(nullptr, 500, 64, 48), 0);
    QByteArray frame = jpeg({64, 48});
    EXPECT_EQ(MainWindow::CameraCpatureReciveCB(frame.data(), -5, 64, 48), 0);
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
}

TEST_F(PreviewTest, onlyThePreviewIsRepaintedForAFrame)
{
    class PaintCounter : public QObject
    {
    public:
        int count = 0;
        bool eventFilter(QObject *, QEvent *event) override
        {
            count += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } button;
    m_window->ui->photoBtn->installEventFilter(&button);
    deliver(jpeg({64, 48}), {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
    EXPECT_EQ(button.count, 0);
}

TEST_F(PreviewTest, negativeSizeAfterAGoodFrameKeepsTheBlock)
{
    for (const QSize size : {QSize(-64, 48), QSize(64, -48), QSize(-640, -480)}) {
        SCOPED_TRACE(QStringLiteral("%1*%2").arg(size.width()).arg(size.height()).toStdString());
        deliver(jpeg({64, 48}), {64, 48});
        runQueued();
        deliver(encoded(quarters({400, 300})), size);
        {
            const FrameBuffer::Access frame{m_window->m_frame};
            EXPECT_NE(frame.bytes(), nullptr);
            EXPECT_EQ(frame.width(), size.width());
            EXPECT_EQ(frame.height(), size.height());
        }
        runQueued();
        // a size that is none leaves the picture its own shape
        expectCorners(expectedRectangle({400, 300}), {kRed, kGreen, kBlue, kYellow});
    }
}

TEST_F(PreviewTest, brokenFrameOfNegativeSizeLeavesTheOldPicture)
{
    const QByteArray good = encoded(quarters({400, 300}));
    deliver(good, {400, 300});
    runQueued();
    deliver(QByteArray("broken"), {-400, 300});
    runQueued();
    expectCorners(expectedRectangle({400, 300}), {kRed, kGreen, kBlue, kYellow});
    const FrameBuffer::Access frame{m_window->m_frame};
    ASSERT_EQ(frame.length(), good.size());
    EXPECT_EQ(std::memcmp(frame.bytes(), good.constData(), std::size_t(good.size())), 0);
}

TEST_F(PreviewTest, photographAfterANegativeSizeHasAFrame)
{
    m_window->hide();
    openOneCamera();
    useSaveFolder();
    m_window->show();
    runQueued();
    QByteArray frame = jpeg({64, 48});
    fake_emit_frame_on_thread(frame.data(), frame.size(), 64, 48);
    runQueued();
    fake_emit_frame_on_thread(frame.data(), frame.size(), -64, 48);
    runQueued();
    calls();
    m_window->onslot_setbtn_takephoto();
    EXPECT_NE(calls().find("SaveVideoData(data,-64,48,0,"), std::string::npos);
}

// The device that is being left may still deliver when the next one has started.
TEST_F(PreviewTest, twoDeliveringThreadsNeitherCrashNorStopThePicture)
{
    m_window->hide();
    openOneCamera();
    m_window->show();
    runQueued();
    const std::array<QSize, 2> sizes{QSize(320, 240), QSize(200, 300)};
    std::atomic<bool> enough{false};
    std::vector<std::thread> cameras;
    for (const QSize size : sizes) {
        cameras.emplace_back([this, &enough, size, frame = jpeg(size)]() mutable {
            while (!enough) {
                // when the window has painted, both come at once
                if (!m_window->m_frame.waiting())
                    fake_emit_frame(frame.data(), frame.size(), size.width(), size.height());
            }
        });
    }
    int mostWaiting = 0;
    int painted = 0;
    QElapsedTimer time;
    time.start();
    while (painted < 200 && mostWaiting < 2 && !time.hasExpired(20000)) {
        QCoreApplication::processEvents();
        mostWaiting = std::max(mostWaiting, m_window->m_frame.pendingCount());
        painted += paintedFrames();
    }
    enough = true;
    for (std::thread &camera : cameras)
        camera.join();
    runQueued();
    EXPECT_GE(painted, 200);
    EXPECT_EQ(mostWaiting, 1);
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
    traces();
    deliver(jpeg({64, 48}), {64, 48});
    runQueued();
    EXPECT_EQ(paintedFrames(), 1);
}
