#pragma once

#include "library/base/event_fd.h"
#include "library/device/v4l2/v4l2_buffers.h"
#include "library/device/v4l2/v4l2_frames.h"
#include "library/device/v4l2/v4l2_modes.h"
#include "library/threads/call_gate.h"

#include <chrono>
#include <optional>
#include <string>

namespace korv {

/// A stream of an open node, which is borrowed. Everything here may block as long as the driver
/// waits for the camera, so it runs on the camera's own thread.
class V4l2Stream
{
public:
    /// Why run() returned.
    enum class End {
        Called, ///< the caller's descriptor became readable
        Gone, ///< the camera is unplugged
        Silent, ///< nothing came in time
        Failed, ///< the driver refused something
    };

    /// `label` names the camera in the log.
    V4l2Stream(const V4l2Node &node, std::string label)
        : m_node(node)
        , m_label(std::move(label))
        , m_buffers(node)
    {
    }

    /// Agrees with the driver on size, format and speed, and starts. -EBUSY another program
    /// streams, -EIO the camera refuses or does not answer, -ENODEV gone.
    Result<void> begin(const V4l2Mode &mode);

    /// Stops and starts the stream that begin() made, on the same descriptor.
    Result<void> restart();

    /// Hands frames to `sink` until something happens. Silent when nothing comes for `patience` to
    /// begin with, or for silenceLimit() later on.
    End run(CallGate<FrameSink> &sink, const EventFd &caller, std::chrono::milliseconds patience);

    /// Two seconds, or three frames of a slow mode.
    std::chrono::milliseconds silenceLimit() const;

    /// Whether pictures came since it was asked last.
    bool tookPictures() { return std::exchange(m_tookPictures, false); }

private:
    Result<void> setFormat(const V4l2Mode &mode);
    void setInterval(const V4l2Mode &mode);
    std::string agreement() const;
    Result<bool> takeBuffers(CallGate<FrameSink> &sink);
    void logDroppedFrame(const char *reason) const;
    void deliver(CallGate<FrameSink> &sink, ByteView bytes);
    End meaningOf(const Error &error) const;

    const V4l2Node &m_node;
    const std::string m_label;
    V4l2Buffers m_buffers;
    std::optional<V4l2Frames> m_frames;
    FrameInterval m_interval;
    bool m_tookPictures = false;
    bool m_reportedIncomplete = false;
};

} // namespace korv
