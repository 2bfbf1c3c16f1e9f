#include "app/preview/framereceiver.h"

#include "library/include/korv_camera.h"
#include "tests/fakes/scripted_camera.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

constexpr QSize kArea{640, 480};
const PreviewTarget::Value kTarget{previewgeometry::Turn::None, kArea, 1};

QByteArray jpeg(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(0xff3366cc);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", 90);
    return bytes;
}

/// What the library's callback, which gets no context, works on.
struct Receiving
{
    FrameBuffer buffer;
    FrameReceiver receiver{buffer};
    std::atomic<int> repaints{0};
};

std::atomic<Receiving *> receiving{nullptr};

int onFrame(void *data, int size, int width, int height)
{
    Receiving &here = *receiving;
    if (here.receiver.receive(data, size, QSize(width, height), kTarget))
        ++here.repaints;
    return 0;
}

class FrameReceiverTest : public testing::Test
{
protected:
    FrameReceiverTest()
    {
        fake_reset();
        receiving = &m_here;
        KorvCamera_StartCapture(0, onFrame);
    }
    ~FrameReceiverTest() override
    {
        fake_reset();
        receiving = nullptr;
    }

    static void deliver(QByteArray frame, QSize size)
    {
        fake_emit_frame(frame.data(), frame.size(), size.width(), size.height());
    }

    /// What the window does when it paints.
    bool paint(PreviewPicture &front)
    {
        FrameBuffer::Access frame{m_here.buffer};
        const bool newer = frame.takeNewerPicture(front);
        frame.markPainted();
        return newer;
    }

    Receiving m_here;
};

} // namespace

TEST_F(FrameReceiverTest, storesAFrameWithItsPicture)
{
    deliver(jpeg({64, 48}), {64, 48});
    EXPECT_EQ(m_here.repaints, 1);
    EXPECT_TRUE(m_here.buffer.waiting());
    PreviewPicture front;
    EXPECT_TRUE(paint(front));
    EXPECT_EQ(front.image.size(), kArea);
    EXPECT_FALSE(m_here.buffer.waiting());
}

TEST_F(FrameReceiverTest, dropsWhileOneWaits)
{
    deliver(jpeg({64, 48}), {64, 48});
    deliver(jpeg({32, 24}), {32, 24});
    EXPECT_EQ(m_here.repaints, 1);
    EXPECT_EQ(m_here.buffer.pendingCount(), 1);
}

TEST_F(FrameReceiverTest, brokenFrameIsNotStoredButRepainted)
{
    deliver("no picture", {64, 48});
    EXPECT_EQ(m_here.repaints, 1);
    EXPECT_FALSE(m_here.buffer.waiting());
}

// The old camera's thread still delivers when the next camera has started.
TEST_F(FrameReceiverTest, twoThreadsTakeTurns)
{
    // of different sizes, so that the scratch memory is made anew all the time
    const std::array<QSize, 2> sizes{QSize(320, 240), QSize(200, 300)};
    std::atomic<bool> enough{false};
    std::vector<std::thread> cameras;
    for (const QSize size : sizes) {
        cameras.emplace_back([this, &enough, size, frame = jpeg(size)] {
            while (!enough) {
                // when the painter has painted, both come at once
                if (!m_here.buffer.waiting())
                    deliver(frame, size);
            }
        });
    }
    int mostWaiting = 0;
    int painted = 0;
    PreviewPicture front;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (painted < 100 && std::chrono::steady_clock::now() < deadline) {
        mostWaiting = std::max(mostWaiting, m_here.buffer.pendingCount());
        if (m_here.buffer.waiting())
            painted += paint(front) ? 1 : 0;
    }
    enough = true;
    for (std::thread &camera : cameras)
        camera.join();
    if (m_here.buffer.waiting())
        painted += paint(front) ? 1 : 0;
    EXPECT_GE(painted, 100);
    EXPECT_EQ(mostWaiting, 1);
    // as many repaints as frames: with one fewer the picture would stand still from then on
    EXPECT_EQ(m_here.repaints, painted);
}
