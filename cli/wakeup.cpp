#include "cli/wakeup.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace cli {
namespace {

sigset_t stopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
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
    : m_newsFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    const sigset_t signals = stopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, &m_previousSignals);
    m_signalFd = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
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

Wake Wakeup::wait(std::optional<Clock::time_point> deadline)
{
    std::array<pollfd, 2> sources{{{m_signalFd, POLLIN, 0}, {m_newsFd, POLLIN, 0}}};
    const int ready = poll(sources.data(), sources.size(), millisecondsUntil(deadline));
    if (ready <= 0)
        return Wake::TimedOut;
    // the signal stays pending, so that every later wait ends as well
    if (sources[0].revents != 0)
        return Wake::Interrupted;
    std::uint64_t news = 0;
    [[maybe_unused]] const ssize_t got = read(m_newsFd, &news, sizeof news);
    return Wake::Notified;
}

} // namespace cli
