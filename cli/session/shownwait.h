#pragma once

#include "cli/progress/progress.h"
#include "cli/session/framereceiver.h"

namespace cli {

/// Waits for a camera, and shows on a terminal that it does as soon as that takes more than a second.
class ShownWait
{
public:
    using Clock = Wakeup::Clock;
    /// The line on the terminal, by the time since the object was made.
    using Text = std::function<std::string(std::chrono::milliseconds elapsed)>;

    /// `wakeup` is borrowed.
    ShownWait(const Options &options, Wakeup &wakeup, Text text);

    /// As FrameReceiver::await().
    Wake await(FrameReceiver &receiver, ReceivedFrame &frame, Clock::time_point deadline);

    /// Waits until `deadline`, whatever comes meanwhile: TimedOut, or Interrupted.
    Wake awaitTime(Clock::time_point deadline);

    /// Call it before anything else is written to the terminal; the next wait shows the line again.
    void clear() { m_progress.clear(); }

private:
    template <typename Sleep> Wake sleepInSteps(Clock::time_point deadline, Sleep sleep);

    Wakeup &m_wakeup;
    const Text m_text;
    Progress m_progress;
};

} // namespace cli
