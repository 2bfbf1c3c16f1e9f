#include "cli/base/wakeup.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr std::array<int, 3> kStopSignals{SIGINT, SIGTERM, SIGHUP};

sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kStopSignals) {
        // nohup and background jobs ignore some; a blocked signal would arrive all the same
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, signal);
    }
    return signals;
}

int millisecondsUntil(std::optional<Wakeup::Clock::time_point> deadline)
{
    if (!deadline)
        return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*deadline - Wakeup::Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000'000));
}

} // namespace

Wakeup::Wakeup()
    : m_stopSignals(stopSignals())
    , m_newsFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    pthread_sigmask(SIG_BLOCK, &m_stopSignals, &m_previousSignals);
    m_signalFd = signalfd(-1, &m_stopSignals, SFD_CLOEXEC | SFD_NONBLOCK);
}

Wakeup::~Wakeup()
{
    // a signal that was heeded must not end the program when it is let through again
    signalfd_siginfo heeded = {};
    while (read(m_signalFd, &heeded, sizeof heeded) > 0) { }
    close(m_newsFd);
    close(m_signalFd);
    pthread_sigmask(SIG_SETMASK, &m_previousSignals, nullptr);
}

void Wakeup::notify()
{
    const std::uint64_t one = 1;
    // fails only when news are waiting already
    [[maybe_unused]] const ssize_t written = write(m_newsFd, &one, sizeof one);
}

void Wakeup::unwatch(int descriptor)
{
    m_watched.erase(std::remove(m_watched.begin(), m_watched.end(), descriptor), m_watched.end());
}

void Wakeup::heedStop()
{
    signalfd_siginfo heeded = {};
    while (read(m_signalFd, &heeded, sizeof heeded) > 0)
        m_heeded = static_cast<int>(heeded.ssi_signo);
}

Wake Wakeup::sleep(const std::vector<int> &descriptors, std::optional<Clock::time_point> deadline,
                   short events)
{
    std::vector<pollfd> sources{{m_signalFd, POLLIN, 0}};
    for (const int descriptor : descriptors)
        sources.push_back({descriptor, events, 0});
    int ready = 0;
    do
        ready = poll(sources.data(), sources.size(), millisecondsUntil(deadline));
    while (ready < 0 && errno == EINTR);
    if (ready <= 0)
        return Wake::TimedOut;
    // the signal stays pending, so that every later wait ends as well
    return sources[0].revents != 0 ? Wake::Interrupted : Wake::Notified;
}

Wake Wakeup::wait(std::optional<Clock::time_point> deadline)
{
    std::vector<int> descriptors{m_newsFd};
    descriptors.insert(descriptors.end(), m_watched.begin(), m_watched.end());
    const Wake wake = sleep(descriptors, deadline, POLLIN);
    if (wake == Wake::Notified) {
        std::uint64_t news = 0;
        [[maybe_unused]] const ssize_t got = read(m_newsFd, &news, sizeof news);
    }
    return wake;
}

Wake Wakeup::waitFor(int descriptor, std::optional<Clock::time_point> deadline)
{
    return sleep({descriptor}, deadline, POLLIN);
}

Wake Wakeup::waitToWrite(int descriptor)
{
    return sleep({descriptor}, std::nullopt, POLLOUT);
}

int Wakeup::stopSignal() const
{
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    for (const int signal : kStopSignals) {
        if (sigismember(&m_stopSignals, signal) == 1 && sigismember(&pending, signal) == 1)
            return signal;
    }
    return m_heeded;
}

} // namespace cli
