#pragma once

#include <chrono>
#include <csignal>
#include <optional>

namespace cli {

/// Why a wait ended.
enum class Wake { Notified, TimedOut, Interrupted };

/// Lets one thread sleep until another one has news, a time has come, or the user wants to stop
/// (SIGINT, SIGTERM). Make it before any thread starts: threads inherit the blocked signals.
class Wakeup
{
public:
    using Clock = std::chrono::steady_clock;

    Wakeup();
    Wakeup(const Wakeup &) = delete;
    Wakeup &operator=(const Wakeup &) = delete;
    ~Wakeup();

    /// News; any thread. News before the wait are not lost, several count once.
    void notify();

    /// Sleeps until `deadline`, without one for ever. An interruption wins over news.
    Wake wait(std::optional<Clock::time_point> deadline);

private:
    int m_newsFd;
    int m_signalFd = -1;
    sigset_t m_previousSignals = {};
};

} // namespace cli
