#pragma once

#include "library/settling/frame_measure.h"

#include <chrono>
#include <deque>
#include <optional>

namespace korv {

/// Tells from one frame to the next when a camera has adapted: exposure, white balance and focus
/// have come to rest.
///
/// Frames that do not differ from the first one on are believed when there are three of them. Where
/// something has moved, a camera may rest for a moment between two steps, or at the turn of a hunt
/// for focus: only a quarter of a second of stillness counts then. Light that flickers never rests;
/// a second of it without a trend will do.
class SettleWatch
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Nobody waits longer for a picture to settle, counted from the first frame.
    static constexpr std::chrono::milliseconds kLongest{3000};

    /// Whether the picture has settled with this frame. Times do not go back.
    bool add(const FrameMeasure &measure, TimePoint when);

    /// Begins anew for the next photograph. A frame that looks as the last settled one did is then
    /// settled at once.
    void startOver();

    /// When the wait for the frames since the start is to end; nothing before the first.
    std::optional<TimePoint> deadline() const;

private:
    struct Entry
    {
        FrameMeasure measure;
        TimePoint when;
    };

    bool isStill() const;
    bool isFlicker() const;

    std::deque<Entry> m_entries; ///< of the last second
    std::optional<TimePoint> m_start;
    bool m_moved = false; ///< since the start
    std::optional<FrameMeasure> m_settled; ///< the last settled frame
};

} // namespace korv
