#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace korv {

/// The system calls that the V4L2 backend makes, so that a test can stand in for the kernel. Each
/// answers as the call of its name does, except that a failure is a negative errno. Interrupted
/// calls are repeated. Any of them may block for seconds when a camera does not answer.
class V4l2Calls
{
public:
    using Clock = std::chrono::steady_clock;

    /// What ended a wait.
    struct Wakeup
    {
        int error = 0; ///< negative errno of poll(2)
        short device = 0; ///< the device's revents
        bool called = false; ///< the caller's own descriptor became readable
    };

    virtual ~V4l2Calls() = default;

    /// Opens a node for reading and writing, non-blocking.
    virtual int open(const std::string &node) = 0;
    virtual void close(int descriptor) = 0;
    virtual int control(int descriptor, unsigned long request, void *argument) = 0;
    /// Null on failure.
    virtual void *map(int descriptor, std::size_t length, std::int64_t offset) = 0;
    virtual void unmap(void *start, std::size_t length) = 0;
    /// Waits for `events` of the device or for `caller` to become readable. A negative timeout
    /// waits for ever.
    virtual Wakeup wait(int descriptor, short events, int caller,
                        std::chrono::milliseconds timeout) = 0;
    /// The clock that wait() follows.
    virtual Clock::time_point now() const = 0;
};

/// The kernel's.
std::shared_ptr<V4l2Calls> systemV4l2Calls();

/// An open node: the descriptor's owner.
class V4l2Node
{
public:
    V4l2Node() = default;
    V4l2Node(std::shared_ptr<V4l2Calls> calls, int descriptor)
        : m_calls(std::move(calls))
        , m_descriptor(descriptor)
    {
    }
    V4l2Node(V4l2Node &&other) noexcept { *this = std::move(other); }
    V4l2Node &operator=(V4l2Node &&other) noexcept
    {
        close();
        m_calls = std::move(other.m_calls);
        m_descriptor = other.m_descriptor;
        other.m_descriptor = -1;
        return *this;
    }
    V4l2Node(const V4l2Node &) = delete;
    V4l2Node &operator=(const V4l2Node &) = delete;
    ~V4l2Node() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }
    V4l2Calls &calls() const { return *m_calls; }
    int control(unsigned long request, void *argument) const
    {
        return m_calls->control(m_descriptor, request, argument);
    }
    void close()
    {
        if (m_descriptor >= 0)
            m_calls->close(m_descriptor);
        m_descriptor = -1;
    }

private:
    std::shared_ptr<V4l2Calls> m_calls;
    int m_descriptor = -1;
};

} // namespace korv
