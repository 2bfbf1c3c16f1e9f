#include "library/api/settle_gate.h"

namespace korv {

bool SettleGate::lets(const Frame &frame, TimePoint now)
{
    if (m_open)
        return true;
    const std::optional<FrameMeasure> measure = measureFrame(frame.jpeg);
    // what cannot be judged is not held back
    m_open = !measure || m_watch.add(*measure, now) || now >= *m_watch.deadline();
    return m_open;
}

} // namespace korv
