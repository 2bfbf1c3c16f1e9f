#include "library/api/stream_receiver.h"

#include <atomic>
#include <gtest/gtest.h>
#include <vector>

using namespace korv;

namespace {

int framesReceived = 0;

int countFrame(void *, int, int, int)
{
    ++framesReceived;
    return 0;
}

class StreamReceiverTest : public testing::Test
{
protected:
    StreamReceiverTest() { framesReceived = 0; }

    /// A frame of a 4x2 picture, which takes 24 bytes in 24-bit pixels.
    void send(std::size_t bytes)
    {
        const std::vector<std::uint8_t> jpeg(bytes);
        m_receiver.onFrame({ByteView(jpeg.data(), jpeg.size()), 4, 2});
    }

    std::atomic<bool> m_silent{false};
    StreamReceiver m_receiver{countFrame, m_silent, "/dev/video0 (Cam)"};
};

} // namespace

TEST_F(StreamReceiverTest, dropsFramesThatTheReceiversBufferCannotHold)
{
    testing::internal::CaptureStderr();
    send(23);
    EXPECT_EQ(framesReceived, 1);
    send(24);
    send(25);
    EXPECT_EQ(framesReceived, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korvcamera: warning: /dev/video0 (Cam): dropping frames that are too long: 24 bytes "
              "for 4x2\n");
}

TEST_F(StreamReceiverTest, deliversNothingOnceItIsSilent)
{
    m_silent = true;
    send(1);
    EXPECT_EQ(framesReceived, 0);
}
