#include "cli/session/settledframe.h"

namespace cli {

bool SettledFrame::isGood(const ReceivedFrame &frame)
{
    const auto measure = korv::measureFrame({frame.jpeg.data(), frame.jpeg.size()});
    if (!measure)
        return true;
    const Wakeup::Clock::time_point now = Wakeup::Clock::now();
    return m_watch.add(*measure, now) || now >= deadline();
}

Wakeup::Clock::time_point SettledFrame::deadline() const
{
    return m_watch.deadline().value_or(Wakeup::Clock::time_point::max());
}

void SettledFrame::startOver()
{
    m_watch.startOver();
}

} // namespace cli
