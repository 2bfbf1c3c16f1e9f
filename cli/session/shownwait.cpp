#include "cli/session/shownwait.h"

#include <algorithm>
#include <utility>

namespace cli {
namespace {

/// How often the line is brought up to date while nothing comes.
constexpr std::chrono::milliseconds kStep{200};

} // namespace

ShownWait::ShownWait(const Options &options, Wakeup &wakeup, Text text)
    : m_wakeup(wakeup)
    , m_text(std::move(text))
    , m_progress(terminalForProgress(options))
{
}

/// `sleep` sleeps until the time it is given, or something has happened. Without a terminal that is
/// the deadline.
template <typename Sleep> Wake ShownWait::sleepInSteps(Clock::time_point deadline, Sleep sleep)
{
    for (;;) {
        m_progress.update(m_text);
        const Clock::time_point next =
            m_progress.isOn() ? std::min(deadline, Clock::now() + kStep) : deadline;
        const Wake wake = sleep(next);
        if (wake != Wake::TimedOut || next >= deadline)
            return wake;
    }
}

Wake ShownWait::await(FrameReceiver &receiver, ReceivedFrame &frame, Clock::time_point deadline)
{
    return sleepInSteps(deadline,
                        [&](Clock::time_point until) { return receiver.await(frame, until); });
}

Wake ShownWait::awaitTime(Clock::time_point deadline)
{
    return sleepInSteps(deadline, [&](Clock::time_point until) {
        Wake wake = Wake::Notified;
        while (wake == Wake::Notified)
            wake = m_wakeup.wait(until);
        return wake;
    });
}

} // namespace cli
