#include "cli/scan/turnwatch.h"

namespace cli {
namespace {

/// Enough to tell pages apart; an eighth of a frame of two megapixels and more.
constexpr int kMinWidth = 240;

/// The frame's other pictures, decoded when they are asked for.
class FrameCloser : public CloserLook
{
public:
    explicit FrameCloser(const ReceivedFrame &frame)
        : m_frame(frame)
    {
    }

    double sharpness() override
    {
        SmallPicture half;
        return decodeSmall(m_frame.jpeg.data(), m_frame.jpeg.size(), m_frame.width / 2, half)
            ? sharpnessOf(half)
            : 0;
    }

    SmallColourPicture colours() override
    {
        SmallColourPicture picture;
        return decodeSmall(m_frame.jpeg.data(), m_frame.jpeg.size(), kMinWidth, picture)
            ? picture
            : SmallColourPicture();
    }

private:
    const ReceivedFrame &m_frame;
};

} // namespace

Sight TurnWatch::look(const ReceivedFrame &frame)
{
    if (!decodeSmall(frame.jpeg.data(), frame.jpeg.size(), kMinWidth, m_small))
        return Sight::Moving;
    FrameCloser closer(frame);
    return m_detector.look(m_small, TurnDetector::Clock::now(), closer);
}

void TurnWatch::taken(const ReceivedFrame &frame)
{
    FrameCloser closer(frame);
    m_detector.taken(closer);
}

} // namespace cli
