#pragma once

#include "library/device/camera_device.h"
#include "library/device/simulated/frame_source.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
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
    FrameSink &m_sink;
    const std::unique_ptr<FrameSource> m_frames;

    std::mutex m_mutex; // guards m_stopping
    std::condition_variable m_changed;
    bool m_stopping = false;

    std::thread m_thread; // last: it needs the rest
};

} // namespace korv
