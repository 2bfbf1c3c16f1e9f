#pragma once

#include "library/device/camera_device.h"
#include "library/settling/settle_watch.h"

namespace korv {

/// Withholds the frames of a new stream until the picture has settled. Thread: the stream's.
class SettleGate
{
public:
    using TimePoint = SettleWatch::TimePoint;

    /// Whether the frame goes on to the receiver. Once one does, all that follow do.
    bool lets(const Frame &frame, TimePoint now);

private:
    SettleWatch m_watch;
    bool m_open = false;
};

} // namespace korv
