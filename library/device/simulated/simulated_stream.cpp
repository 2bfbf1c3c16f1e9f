#include "library/device/simulated/simulated_stream.h"

#include "library/base/log.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <exception>
#include <string>

namespace korv {

SimulatedStream::SimulatedStream(std::unique_ptr<FrameSource> frames,
                                 std::shared_ptr<const Plug> plug, CaptureMode mode,
                                 FrameSink &sink)
    : m_plug(std::move(plug))
    , m_mode(mode)
    , m_label(frames->label())
    , m_sink(sink)
    , m_frames(std::move(frames))
    , m_thread(startThread("korv-stream", [this] { run(); }))
{
}

SimulatedStream::~SimulatedStream()
{
    m_frames->stop(); // first: the stream thread may be waiting for the first one
    {
        const MutexLock lock(m_mutex);
        m_stopping = true;
        m_changed.notifyAll();
    }
    m_thread.join();
}

bool SimulatedStream::waitUntil(Clock::time_point due)
{
    MutexLock lock(m_mutex);
    while (!m_stopping && m_changed.waitUntil(lock, due)) { }
    return !m_stopping;
}

void SimulatedStream::run()
{
    try {
        sendFrames();
    } catch (const std::exception &error) {
        logLine(LogLevel::Error, m_label, "stream thread terminated", error.what());
    }
}

void SimulatedStream::sendFrames()
{
    constexpr auto kPeriod = std::chrono::nanoseconds(std::chrono::seconds(1)) / kFramesPerSecond;
    if (!m_frames->waitUntilReady())
        return;
    const Clock::time_point begin = Clock::now();
    std::int64_t number = 0;
    while (waitUntil(begin + number * kPeriod) && !m_plug->isPulled()) {
        const Result<ByteView> frame = m_frames->frame(number);
        if (frame && frame.value().size == 0)
            return;
        if (frame)
            m_sink.onFrame({frame.value(), m_mode.width, m_mode.height});
        else
            logLine(LogLevel::Warning, m_label, "dropped a frame", frame.error().text);
        // a frame whose time has passed is not made up for
        number = std::max<std::int64_t>(number, (Clock::now() - begin) / kPeriod) + 1;
    }
}

} // namespace korv
