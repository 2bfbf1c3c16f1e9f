#pragma once

#include "cli/session/framereceiver.h"
#include "cli/turns/turndetector.h"

namespace cli {

/// Looks at a camera's frames for pages that have been turned.
class TurnWatch
{
public:
    /// What the frame shows. One that cannot be decoded is passed over: it moves.
    Sight look(const ReceivedFrame &frame);

    /// Whether the frame shows a page to be taken.
    bool shows(const ReceivedFrame &frame) { return look(frame) == Sight::Turned; }

    /// Whether it is worth the time to fetch a frame now.
    bool wantsFrame() const { return m_detector.wantsToLook(TurnDetector::Clock::now()); }

    /// This frame has become a page, turned or not.
    void taken(const ReceivedFrame &frame);

private:
    TurnDetector m_detector;
    SmallPicture m_small;
};

} // namespace cli
