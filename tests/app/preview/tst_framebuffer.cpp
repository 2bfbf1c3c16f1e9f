#include "app/preview/framebuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <string>
#include <thread>

namespace {

PreviewPicture somePicture(QSize area)
{
    PreviewPicture picture;
    picture.image = QImage(area, QImage::Format_RGB32);
    picture.frameSize = area;
    picture.area = area;
    return picture;
}

bool store(FrameBuffer &buffer, int width, int height, const std::string &bytes)
{
    PreviewPicture none;
    FrameBuffer::Access frame{buffer};
    return frame.makeRoom(width, height)
        && frame.store(bytes.data(), static_cast<int>(bytes.size()), none);
}

} // namespace

TEST(FrameBuffer, startsWithoutAFrame)
{
    FrameBuffer buffer;
    EXPECT_FALSE(buffer.waiting());
    const FrameBuffer::Access frame{buffer};
    EXPECT_EQ(frame.bytes(), nullptr);
    EXPECT_EQ(frame.width(), 0);
    EXPECT_EQ(frame.frameNumber(), 0U);
}

TEST(FrameBuffer, storedFrameWaitsUntilItIsPainted)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 4, 2, "abcdef"));
    EXPECT_TRUE(buffer.waiting());
    FrameBuffer::Access frame{buffer};
    EXPECT_EQ(std::string(reinterpret_cast<char *>(frame.bytes()), 6), "abcdef");
    EXPECT_EQ(frame.length(), 6);
    frame.markPainted();
    EXPECT_FALSE(buffer.waiting());
    frame.markPainted();
    EXPECT_EQ(buffer.pendingCount(), 0);
}

TEST(FrameBuffer, samePixelCountKeepsTheBlock)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 1080, 1920, "portrait"));
    FrameBuffer::Access frame{buffer};
    const std::uint8_t *block = frame.bytes();
    ASSERT_TRUE(frame.makeRoom(1920, 1080));
    EXPECT_EQ(frame.bytes(), block);
    EXPECT_EQ(frame.width(), 1920);
    EXPECT_EQ(frame.height(), 1080);
    EXPECT_EQ(frame.bufferWidth(), 1080);
    EXPECT_EQ(frame.bufferHeight(), 1920);
}

TEST(FrameBuffer, smallerFrameKeepsTheRecordedMaximum)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 100, 100, "x"));
    FrameBuffer::Access frame{buffer};
    ASSERT_TRUE(frame.makeRoom(10, 10));
    EXPECT_EQ(frame.bufferWidth(), 100);
    EXPECT_EQ(frame.bufferHeight(), 100);
    EXPECT_EQ(frame.width(), 10);
}

TEST(FrameBuffer, sidesOfTheMaximumGrowSeparately)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 100, 10, "x"));
    FrameBuffer::Access frame{buffer};
    ASSERT_TRUE(frame.makeRoom(20, 60)); // 1200 pixels, more than 1000
    EXPECT_EQ(frame.bufferWidth(), 100);
    EXPECT_EQ(frame.bufferHeight(), 60);
}

TEST(FrameBuffer, blockHoldsEveryPixelAlsoWhenTheMaximaClaimMore)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 100, 10, "x"));
    FrameBuffer::Access frame{buffer};
    ASSERT_TRUE(frame.makeRoom(20, 60));
    ASSERT_TRUE(frame.makeRoom(70, 70)); // below 100 x 60, above every block so far
    EXPECT_EQ(frame.bufferWidth(), 100);
    EXPECT_EQ(frame.bufferHeight(), 60);
    std::memset(frame.bytes(), 0x5a, std::size_t{70} * 70 * 3); // a sanitizer watches
    EXPECT_EQ(frame.bytes()[70 * 70 * 3 - 1], 0x5a);
}

TEST(FrameBuffer, frameLongerThanItsPixelsIsHeldWhole)
{
    FrameBuffer buffer;
    const std::string longFrame(5000, 'j');
    ASSERT_TRUE(store(buffer, 2, 2, longFrame));
    const FrameBuffer::Access frame{buffer};
    EXPECT_EQ(frame.length(), 5000);
    EXPECT_EQ(std::memcmp(frame.bytes(), longFrame.data(), longFrame.size()), 0);
}

TEST(FrameBuffer, absurdSizesHoldNothing)
{
    FrameBuffer buffer;
    ASSERT_TRUE(store(buffer, 4, 4, "good"));
    FrameBuffer::Access frame{buffer};
    EXPECT_FALSE(frame.makeRoom(65536, 65536)); // the product wraps round to 0 in 32 bits
    EXPECT_EQ(frame.bytes(), nullptr);
    EXPECT_FALSE(frame.makeRoom(-1, 10));
    EXPECT_FALSE(frame.makeRoom(40000, 40000));
    EXPECT_TRUE(frame.makeRoom(4, 4));
    EXPECT_NE(frame.bytes(), nullptr);
}

TEST(FrameBuffer, negativeSizeKeepsWhatIsHeld)
{
    for (const QSize size : {QSize(-4, 4), QSize(4, -4), QSize(-400, -400), QSize(INT_MIN, 2)}) {
        FrameBuffer buffer;
        ASSERT_TRUE(store(buffer, 4, 4, "good"));
        FrameBuffer::Access frame{buffer};
        EXPECT_TRUE(frame.makeRoom(size.width(), size.height()));
        ASSERT_NE(frame.bytes(), nullptr);
        EXPECT_EQ(std::memcmp(frame.bytes(), "good", 4), 0);
        EXPECT_EQ(frame.length(), 4);
        EXPECT_EQ(frame.width(), size.width());
        EXPECT_EQ(frame.height(), size.height());
        EXPECT_EQ(frame.bufferWidth(), 4);
        EXPECT_EQ(frame.bufferHeight(), 4);
    }
}

TEST(FrameBuffer, negativeSizeFirstHoldsNothing)
{
    FrameBuffer buffer;
    FrameBuffer::Access frame{buffer};
    EXPECT_FALSE(frame.makeRoom(-4, 4));
    EXPECT_EQ(frame.bytes(), nullptr);
    EXPECT_TRUE(frame.makeRoom(4, 4));
}

TEST(FrameBuffer, sizelessFrameIsAnnouncedButEmpty)
{
    FrameBuffer buffer;
    FrameBuffer::Access frame{buffer};
    EXPECT_TRUE(frame.makeRoom(0, 0));
    EXPECT_NE(frame.bytes(), nullptr);
}

TEST(FrameBuffer, newestPictureIsTakenOnce)
{
    FrameBuffer buffer;
    PreviewPicture back = somePicture({64, 48});
    PreviewPicture front;
    {
        FrameBuffer::Access frame{buffer};
        ASSERT_TRUE(frame.makeRoom(8, 8));
        ASSERT_TRUE(frame.store("one", 3, back));
    }
    EXPECT_FALSE(back.isMade());
    FrameBuffer::Access frame{buffer};
    EXPECT_TRUE(frame.takeNewerPicture(front));
    EXPECT_EQ(front.area, QSize(64, 48));
    EXPECT_FALSE(frame.takeNewerPicture(front));
    EXPECT_EQ(front.area, QSize(64, 48));
}

TEST(FrameBuffer, pictureOfAnOlderFrameIsNotTaken)
{
    FrameBuffer buffer;
    PreviewPicture back = somePicture({64, 48});
    FrameBuffer::Access frame{buffer};
    ASSERT_TRUE(frame.makeRoom(8, 8));
    ASSERT_TRUE(frame.store("one", 3, back));
    PreviewPicture unmade;
    ASSERT_TRUE(frame.store("two", 3, unmade));
    PreviewPicture front;
    EXPECT_FALSE(frame.takeNewerPicture(front));
}

// The hand-shake under load: every stored frame arrives whole, and never two wait at once.
TEST(FrameBufferThreads, painterNeverSeesAHalfWrittenFrame)
{
    FrameBuffer buffer;
    std::atomic<bool> done{false};
    constexpr int kFrames = 2000;
    std::thread capture([&] {
        PreviewPicture none;
        for (int i = 0; i < kFrames;) {
            if (buffer.waiting())
                continue;
            const std::string bytes(static_cast<std::size_t>(100 + i % 50), static_cast<char>(i));
            FrameBuffer::Access frame{buffer};
            if (frame.makeRoom(16, 16)
                && frame.store(bytes.data(), static_cast<int>(bytes.size()), none))
                ++i;
        }
        done = true;
    });
    int painted = 0;
    int torn = 0;
    int mostWaiting = 0;
    while (!done || buffer.waiting()) {
        if (!buffer.waiting())
            continue;
        FrameBuffer::Access frame{buffer};
        mostWaiting = std::max(mostWaiting, buffer.pendingCount());
        for (int i = 1; i < frame.length(); ++i)
            torn += frame.bytes()[i] != frame.bytes()[0];
        frame.markPainted();
        ++painted;
    }
    capture.join();
    EXPECT_EQ(painted, kFrames);
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(mostWaiting, 1);
}
