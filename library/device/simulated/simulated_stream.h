#pragma once

#include "library/device/camera_device.h"
#include "library/device/simulated/frame_source.h"
#include "library/threads/mutex.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace korv {

/// Whether a simulated camera is still plugged in: the monitor pulls, the stream looks.
class Plug
{
public:
    void pull() { m_pulled = true; }
    bool isPulled() const { return m_pulled; }

private:
    std::atomic<bool> m_pulled{false};
};

/// A running simulated camera: one thread sends frames at fixed times. A
/// receiver that needs longer than a frame's time misses the frames of that time. Pulling the plug
/// ends the frames; destruction ends and joins the thread.
class SimulatedStream
{
public:
    static constexpr int kFramesPerSecond = 15;

    /// Throws std::system_error when no thread can be started.
    SimulatedStream(std::unique_ptr<FrameSource> frames, std::shared_ptr<const Plug> plug,
                    CaptureMode mode, FrameSink &sink);
    ~SimulatedStream();
    SimulatedStream(const SimulatedStream &) = delete;
    SimulatedStream &operator=(const SimulatedStream &) = delete;

private:
    using Clock = std::chrono::steady_clock;

    void run();
    void sendFrames();
    bool waitUntil(Clock::time_point due);

    const std::shared_ptr<const Plug> m_plug;
    const CaptureMode m_mode;
    const std::string m_label; ///< of the camera, in the log
    FrameSink &m_sink;
    const std::unique_ptr<FrameSource> m_frames;

    Mutex m_mutex;
    Condition m_changed;
    bool m_stopping GUARDED_BY(m_mutex) = false;

    std::thread m_thread; // last: it needs the rest
};

} // namespace korv
