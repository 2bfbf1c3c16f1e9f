#pragma once

#include <chrono>
#include <csignal>
#include <optional>
#include <vector>

namespace cli {

/// Why a wait ended.
enum class Wake { Notified, TimedOut, Interrupted };

/// Lets one thread sleep until another one has news, a time has come, or the user wants to stop
/// (SIGINT, SIGTERM, SIGHUP; one that the program was started to ignore stays ignored). Make it
/// before any thread starts: threads inherit the blocked signals.
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

    /// Sleeps until `descriptor` can be read without waiting, its end included: Notified; or until
    /// `deadline`.
    Wake waitFor(int descriptor, std::optional<Clock::time_point> deadline = std::nullopt);

    /// Sleeps until `descriptor` can be written to without waiting, its end included: Notified.
    Wake waitToWrite(int descriptor);

    /// From now on wait() also ends, with Notified, while `descriptor` can be read without waiting,
    /// its end included. Of the waiting thread.
    void watch(int descriptor) { m_watched.push_back(descriptor); }
    void unwatch(int descriptor);

    /// Takes note of the signal that asked the program to stop, so that waits work again until the
    /// next one.
    void heedStop();

    /// The signal that asks the program to stop, or asked it last; 0 when there was none.
    int stopSignal() const;

private:
    Wake sleep(const std::vector<int> &descriptors, std::optional<Clock::time_point> deadline,
               short events);

    sigset_t m_stopSignals;
    int m_newsFd;
    int m_signalFd = -1;
    std::vector<int> m_watched;
    int m_heeded = 0;
    sigset_t m_previousSignals = {};
};

} // namespace cli
