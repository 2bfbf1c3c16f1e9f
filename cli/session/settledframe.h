#pragma once

#include "cli/session/framereceiver.h"
#include "library/settling/settle_watch.h"

namespace cli {

/// Judges the frames that a photograph could be made of.
class SettledFrame
{
public:
    /// Whether the wait ends with this frame: the picture has settled, the time is up, or the frame
    /// cannot be judged.
    bool isGood(const ReceivedFrame &frame);

    /// Until when the next frame is to be waited for; after that the last one has to do.
    Wakeup::Clock::time_point deadline() const;

    /// The next photograph.
    void startOver();

private:
    korv::SettleWatch m_watch;
};

} // namespace cli
