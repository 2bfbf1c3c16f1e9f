#include "library/device/v4l2/v4l2_device.h"

#include "library/base/log.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace korv {
namespace {

void endThread(V4l2Work &work, std::thread &thread, V4l2Work::Deadline deadline)
{
    work.quit();
    if (work.waitUntilEnded(deadline)) {
        thread.join();
        return;
    }
    logLine(LogLevel::Warning, work.label(), "thread blocked in the driver; detaching it");
    thread.detach();
}

} // namespace

Result<std::unique_ptr<CameraDevice>> V4l2Device::open(V4l2Access access, V4l2Patience patience)
{
    Result<EventFd> wakeUp = EventFd::create();
    if (!wakeUp)
        return wakeUp.error();
    const std::string node = access.node;
    auto work = std::make_shared<V4l2Work>(std::move(access), std::move(wakeUp).value());
    std::thread thread = startThread("korv-camera", [work] { work->run(); });
    auto opened = work->waitUntilOpen(patience.open);
    if (opened && *opened)
        return std::unique_ptr<CameraDevice>(std::make_unique<V4l2Device>(
            work, std::move(thread), std::move(*opened).value(), patience));
    // a thread that has failed ends at once; one that still waits is not waited for any longer
    const auto now = std::chrono::steady_clock::now();
    endThread(*work, thread, opened ? now + patience.stop : now);
    return opened ? opened->error() : Error{-ETIMEDOUT, node + " does not answer"};
}

V4l2Device::V4l2Device(std::shared_ptr<V4l2Work> work, std::thread thread,
                       std::vector<V4l2Mode> modes, V4l2Patience patience)
    : m_work(std::move(work))
    , m_thread(std::move(thread))
    , m_nodeModes(std::move(modes))
    , m_current(modeToBeginWith(m_nodeModes))
    , m_patience(patience)
{
    for (const V4l2Mode &mode : m_nodeModes)
        m_modes.push_back(mode.mode);
}

V4l2Device::~V4l2Device()
{
    prepareStop();
    if (m_sink)
        m_sink->shut();
    endThread(*m_work, m_thread, *m_stopDeadline);
}

Result<void> V4l2Device::selectMode(int number)
{
    if (m_sink)
        return Error{-EBUSY, "the camera is streaming"};
    const auto mode = std::find_if(m_modes.begin(), m_modes.end(),
                                   [=](const CaptureMode &each) { return each.number == number; });
    if (mode == m_modes.end())
        return Error{-EINVAL, "no resolution has number " + std::to_string(number)};
    m_current = number;
    return {};
}

Result<void> V4l2Device::start(FrameSink &sink)
{
    if (m_sink)
        return Error{-EBUSY, "the camera is streaming already"};
    m_stopDeadline.reset();
    auto gate = std::make_shared<CallGate<FrameSink>>(sink);
    Result<void> started =
        m_work->start(m_nodeModes[static_cast<std::size_t>(m_current)], gate, m_patience.start);
    if (started)
        m_sink = std::move(gate);
    return started;
}

void V4l2Device::prepareStop()
{
    if (!m_stopDeadline)
        m_stopDeadline = std::chrono::steady_clock::now() + m_patience.stop;
    m_work->cancel();
}

Result<void> V4l2Device::stop()
{
    if (!m_sink)
        return Error{-EINVAL, "the camera is not streaming"};
    prepareStop();
    // the callback comes first: it may take as long as it likes, and none may follow
    m_sink->shut();
    m_sink.reset();
    if (!m_work->waitUntilIdle(*m_stopDeadline))
        logLine(LogLevel::Warning, m_work->label(), "slow to stop; continuing in the background");
    return {};
}

} // namespace korv
