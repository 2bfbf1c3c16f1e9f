#include "library/device/v4l2/v4l2_work.h"

#include "library/base/log.h"
#include "library/device/device_name.h"

#include <cerrno>
#include <exception>
#include <poll.h>

namespace korv {
namespace {

/// Stops and starts of a silent stream before the node is reopened.
constexpr int kRestarts = 3;

/// What a camera is given longer with each attempt: some need seconds to their first picture.
constexpr std::chrono::milliseconds kMorePatience{1000};

constexpr std::chrono::milliseconds kNoTimeout{-1};
constexpr std::chrono::milliseconds kLookEvery{20};

} // namespace

bool NodeLease::take(const std::function<bool()> &givenUp)
{
    MutexLock lock(m_mutex);
    while (m_taken) {
        lock.unlock();
        const bool end = givenUp();
        lock.lock();
        if (end)
            return false;
        // a wake-up and the end of the time are the same here
        static_cast<void>(m_changed.waitUntil(lock, Condition::Clock::now() + kLookEvery));
    }
    m_taken = true;
    return true;
}

void NodeLease::giveBack()
{
    const MutexLock lock(m_mutex);
    m_taken = false;
    m_changed.notifyAll();
}

V4l2Work::V4l2Work(V4l2Access access, EventFd wakeUp)
    : m_access(std::move(access))
    , m_label(nodeLabel(m_access.node, m_access.model))
    , m_wakeUp(std::move(wakeUp))
{
}

void V4l2Work::warn(const char *text) const
{
    logLine(LogLevel::Warning, m_label, text);
}

// ---- the thread's life ----

void V4l2Work::run() noexcept
{
    try {
        work();
    } catch (const std::exception &error) {
        giveUp(error.what());
    }
    const MutexLock lock(m_mutex);
    const Error ended{-ENOMEM, "the camera's thread has ended"};
    if (!m_opened)
        m_opened = ended;
    if (m_request && !m_request->started)
        m_request->started = ended;
    m_request.reset();
    m_ended = true;
    m_changed.notifyAll();
}

/// What little can be done when memory has run out, say. Work has let go of the camera already.
void V4l2Work::giveUp(const char *reason) noexcept
{
    try {
        logLine(LogLevel::Error, m_label, "camera thread terminated", reason);
        bool usable = false;
        {
            const MutexLock lock(m_mutex);
            usable = m_opened && *m_opened;
        }
        // nobody would hear of it otherwise: no frame comes any more, and no stream starts
        if (usable && !m_reported)
            leave(V4l2Exit::Lost);
    } catch (const std::exception &error) { // the next call to this camera fails
        logLine(LogLevel::Error, m_label, "could not report the camera as lost", error.what());
    }
}

void V4l2Work::work()
{
    const auto isQuitting = [this] {
        const MutexLock lock(m_mutex);
        return m_quitting;
    };
    if (!m_access.turn->take(isQuitting))
        return;
    const std::shared_ptr<NodeLease> turn = m_access.turn;
    struct GiveBack
    {
        ~GiveBack()
        {
            work.m_stream.reset();
            work.m_node.close();
            turn.giveBack();
        }
        V4l2Work &work;
        NodeLease &turn;
    } const giveBack{*this, *turn};

    Result<std::vector<V4l2Mode>> opened = openNode();
    const bool usable = static_cast<bool>(opened);
    {
        const MutexLock lock(m_mutex);
        m_opened = std::move(opened);
        m_changed.notifyAll();
    }
    if (!usable)
        return;
    while (const std::shared_ptr<StreamRequest> request = nextRequest()) {
        execute(*request);
        const MutexLock lock(m_mutex);
        m_request.reset();
        m_changed.notifyAll();
    }
}

Result<std::vector<V4l2Mode>> V4l2Work::openNode()
{
    const int descriptor = m_access.calls->open(m_access.node);
    if (descriptor < 0) {
        const bool gone = descriptor == -ENOENT || descriptor == -ENXIO;
        return systemError(gone ? ENODEV : -descriptor, "open ", m_access.node);
    }
    m_node = V4l2Node(m_access.calls, descriptor);
    Result<V4l2Identity> identity = queryIdentity(m_node);
    if (!identity)
        return identity.error();
    m_identity = std::move(identity).value();
    Result<std::vector<V4l2Mode>> modes = listModes(m_node);
    if (modes && modes.value().empty())
        return Error{-ENODEV, m_access.node + " offers no supported format"};
    if (modes)
        logDebug([&] {
            return m_label + ": " + m_identity.card + " at " + m_identity.bus + ", "
                + std::to_string(modes.value().size()) + " sizes";
        });
    return modes;
}

std::shared_ptr<V4l2Work::StreamRequest> V4l2Work::nextRequest()
{
    for (;;) {
        m_wakeUp.clear();
        {
            const MutexLock lock(m_mutex);
            if (m_quitting)
                return nullptr;
            if (m_request)
                return m_request;
        }
        watchIdleNode();
    }
}

/// Sleeps until there is something to do, or the camera goes: its node is to be closed then.
void V4l2Work::watchIdleNode()
{
    const int watched = m_node.isOpen() && m_watchable ? m_node.descriptor() : -1;
    const V4l2Calls::Wakeup wakeup =
        m_access.calls->wait(watched, POLLPRI, m_wakeUp.fd(), kNoTimeout);
    if (wakeup.device == 0)
        return;
    const Result<V4l2Identity> identity = queryIdentity(m_node);
    if (!identity && identity.code() == -ENODEV)
        leave(V4l2Exit::Gone);
    else
        m_watchable = false; // a driver that reports an error while idle would keep us awake
}

void V4l2Work::leave(V4l2Exit fate)
{
    m_stream.reset();
    m_node.close();
    m_reported = true;
    m_access.report(fate);
}

// ---- streaming ----

bool V4l2Work::isCancelled(const StreamRequest &request)
{
    m_wakeUp.clear();
    const MutexLock lock(m_mutex);
    return request.cancelled || m_quitting;
}

Result<void> V4l2Work::beginStream(const V4l2Mode &mode)
{
    if (!m_node.isOpen())
        return Error{-ENODEV, "the camera is gone"};
    m_stream.emplace(m_node, m_label);
    return m_stream->begin(mode);
}

void V4l2Work::execute(StreamRequest &request)
{
    const bool wasThere = m_node.isOpen();
    const Result<void> begun = beginStream(request.mode);
    if (!begun)
        m_stream.reset(); // whoever hears of the failure may try again at once
    bool answered = false;
    {
        const MutexLock lock(m_mutex);
        request.started = begun;
        answered = request.answered;
        m_changed.notifyAll();
    }
    if (!begun && answered)
        logLine(LogLevel::Error, m_label, "cannot start the stream", begun.error().text);
    if (begun.code() == -ENODEV) {
        if (wasThere)
            leave(V4l2Exit::Gone);
    } else if (begun || answered) {
        keepStreaming(request, static_cast<bool>(begun));
    }
    m_stream.reset();
}

void V4l2Work::keepStreaming(StreamRequest &request, bool begun)
{
    int attempts = begun ? 0 : kRestarts;
    while (!isCancelled(request)) {
        V4l2Stream::End end = V4l2Stream::End::Failed;
        if (begun)
            end = m_stream->run(*request.sink, m_wakeUp,
                                m_stream->silenceLimit() + attempts * kMorePatience);
        begun = true;
        if (end == V4l2Stream::End::Called)
            continue;
        if (end == V4l2Stream::End::Gone)
            return leave(V4l2Exit::Gone);
        if (m_stream && m_stream->tookPictures())
            attempts = 0;
        ++attempts;
        if (!recover(request, attempts))
            return;
    }
}

/// False when the camera is gone or lost.
bool V4l2Work::recover(StreamRequest &request, int attempt)
{
    if (attempt > kRestarts + 1) {
        warn("no frames; closing and rediscovering the camera");
        leave(V4l2Exit::Lost);
        return false;
    }
    const bool again = attempt > kRestarts;
    warn(again ? "still no frames; reopening the camera" : "no frames; restarting the stream");
    const Result<void> recovered = again ? reopen(request.mode) : m_stream->restart();
    if (recovered.code() == -ENODEV || !m_node.isOpen()) {
        leave(recovered.code() == -ENODEV ? V4l2Exit::Gone : V4l2Exit::Lost);
        return false;
    }
    if (!recovered)
        pause(request);
    return true;
}

Result<void> V4l2Work::reopen(const V4l2Mode &mode)
{
    m_stream.reset();
    m_node.close();
    const V4l2Identity before = m_identity;
    if (Result<std::vector<V4l2Mode>> opened = openNode(); !opened) {
        m_node.close();
        return opened.error();
    }
    // the node's name may have gone to another camera meanwhile
    if (!m_identity.isSameAs(before))
        return Error{-ENODEV, "another camera has taken the node"};
    return beginStream(mode);
}

/// A driver that refuses at once would otherwise be asked without end.
void V4l2Work::pause(const StreamRequest &request)
{
    const auto end = m_access.calls->now() + m_stream->silenceLimit();
    while (!isCancelled(request)) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - m_access.calls->now());
        if (left.count() <= 0)
            return;
        if (m_access.calls->wait(-1, 0, m_wakeUp.fd(), left).called)
            m_wakeUp.clear();
    }
}

// ---- the device's side ----

std::optional<Result<std::vector<V4l2Mode>>> V4l2Work::waitUntilOpen(Milliseconds longest)
{
    MutexLock lock(m_mutex);
    const Deadline deadline = std::chrono::steady_clock::now() + longest;
    while (!m_opened && m_changed.waitUntil(lock, deadline)) { }
    return m_opened;
}

Result<void> V4l2Work::start(const V4l2Mode &mode, std::shared_ptr<CallGate<FrameSink>> sink,
                             Milliseconds longest)
{
    auto request = std::make_shared<StreamRequest>();
    request->mode = mode;
    request->sink = std::move(sink);
    MutexLock lock(m_mutex);
    // an earlier stream that still ends is waited for, its camera being slow
    const auto deadline = std::chrono::steady_clock::now() + longest;
    while (!m_ended && m_request && m_changed.waitUntil(lock, deadline)) { }
    if (m_ended)
        return Error{-ENODEV, "the camera is closed"};
    if (m_request)
        return Error{-EBUSY, "the camera has not answered the end of its last stream yet"};
    m_request = request;
    m_wakeUp.set();
    while (!request->started && m_changed.waitUntil(lock, deadline)) { }
    if (request->started)
        return *request->started;
    request->answered = true;
    warn("slow to start; continuing in the background");
    return {};
}

void V4l2Work::cancel()
{
    const MutexLock lock(m_mutex);
    if (m_request)
        m_request->cancelled = true;
    m_wakeUp.set();
}

void V4l2Work::quit()
{
    const MutexLock lock(m_mutex);
    m_quitting = true;
    m_wakeUp.set();
}

bool V4l2Work::waitUntilIdle(Deadline deadline)
{
    MutexLock lock(m_mutex);
    while (m_request && m_changed.waitUntil(lock, deadline)) { }
    return !m_request;
}

bool V4l2Work::waitUntilEnded(Deadline deadline)
{
    MutexLock lock(m_mutex);
    while (!m_ended && m_changed.waitUntil(lock, deadline)) { }
    return m_ended;
}

} // namespace korv
