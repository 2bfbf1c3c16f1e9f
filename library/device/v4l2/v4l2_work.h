#pragma once

#include "library/base/event_fd.h"
#include "library/device/v4l2/v4l2_calls.h"
#include "library/device/v4l2/v4l2_modes.h"
#include "library/device/v4l2/v4l2_stream.h"
#include "library/threads/call_gate.h"
#include "library/threads/mutex.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// What becomes of a camera while it is open.
enum class V4l2Exit {
    Gone, ///< unplugged
    Lost, ///< there, but dead: only reopening it may help
};

/// The right to have a camera's node open, held by one thread at a time. A thread that was left
/// behind with a silent camera keeps it until it has closed the node.
class NodeLease
{
public:
    /// Waits until the lease is free. False when `givenUp`, which is polled, returns true first.
    bool take(const std::function<bool()> &givenUp);
    void giveBack();

private:
    Mutex m_mutex;
    Condition m_changed;
    bool m_taken GUARDED_BY(m_mutex) = false;
};

/// What it takes to open a camera.
struct V4l2Access
{
    std::shared_ptr<V4l2Calls> calls;
    std::string node; ///< /dev/video0
    std::shared_ptr<NodeLease> turn;
    std::function<void(V4l2Exit)> report; ///< called once at most, on the camera's thread
    std::string model = {}; ///< for the log; may be empty
};

/// An open camera's work, all on one thread: opening, streaming, bringing a stalled stream back,
/// closing. Owned by that thread and by the device together, so that the device may leave a thread
/// behind that waits for a silent camera.
///
/// A stream that falls silent is stopped and started on the same descriptor; when that does not
/// help three times, the node is reopened; then the camera counts as lost.
class V4l2Work
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Deadline = std::chrono::steady_clock::time_point;

    V4l2Work(V4l2Access access, EventFd wakeUp);

    /// The thread. Returns after quit().
    void run() noexcept;

    // the device's side; any thread

    const std::string &label() const { return m_label; }

    /// The modes of the opened camera, or why it could not be opened. Nothing when it takes longer.
    std::optional<Result<std::vector<V4l2Mode>>> waitUntilOpen(Milliseconds longest);
    /// Begins a stream; precondition: none is under way or stopping. Success also when the camera
    /// takes longer than that to answer: the work goes on and the frames come later.
    Result<void> start(const V4l2Mode &mode, std::shared_ptr<CallGate<FrameSink>> sink,
                       Milliseconds longest);
    /// Tells the stream to end; returns at once.
    void cancel();
    /// Tells the thread to end; returns at once.
    void quit();
    bool waitUntilIdle(Deadline deadline);
    bool waitUntilEnded(Deadline deadline);

private:
    /// A stream that was asked for.
    struct StreamRequest
    {
        V4l2Mode mode;
        std::shared_ptr<CallGate<FrameSink>> sink;
        std::optional<Result<void>> started;
        bool answered = false; ///< the caller went on without waiting for the answer
        bool cancelled = false;
    };

    void warn(const char *text) const;
    void work();
    void giveUp(const char *reason) noexcept;
    Result<std::vector<V4l2Mode>> openNode();
    std::shared_ptr<StreamRequest> nextRequest();
    void watchIdleNode();
    void execute(StreamRequest &request);
    Result<void> beginStream(const V4l2Mode &mode);
    void keepStreaming(StreamRequest &request, bool begun);
    bool recover(StreamRequest &request, int attempt);
    Result<void> reopen(const V4l2Mode &mode);
    void pause(const StreamRequest &request);
    void leave(V4l2Exit fate);
    bool isCancelled(const StreamRequest &request);

    const V4l2Access m_access;
    const std::string m_label; ///< of the camera, in the log
    const EventFd m_wakeUp; // set when something below changed

    /// Also guards what changes in a request: `started`, `answered` and `cancelled`.
    Mutex m_mutex;
    Condition m_changed;
    std::optional<Result<std::vector<V4l2Mode>>> m_opened GUARDED_BY(m_mutex);
    std::shared_ptr<StreamRequest> m_request GUARDED_BY(m_mutex); ///< until it is carried out
    bool m_quitting GUARDED_BY(m_mutex) = false;
    bool m_ended GUARDED_BY(m_mutex) = false;

    // of the thread
    V4l2Node m_node;
    V4l2Identity m_identity;
    std::optional<V4l2Stream> m_stream; // after the node, which it borrows
    bool m_watchable = true;
    bool m_reported = false;
};

} // namespace korv
