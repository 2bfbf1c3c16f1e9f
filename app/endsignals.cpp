#include "app/endsignals.h"

#include "util/signalhandler.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 3> kNumbers{SIGINT, SIGTERM, SIGHUP};
constexpr std::time_t kPatienceSeconds = 3;

// A handler gets no context. What it does is allowed in one: see signal-safety(7).
std::array<int, 2> pipeEnds{-1, -1};
std::atomic<std::time_t> firstAt{0};
static_assert(std::atomic<std::time_t>::is_always_lock_free);

void note(int number)
{
    const int error = errno;
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    std::time_t none = 0;
    if (!firstAt.compare_exchange_strong(none, now.tv_sec + 1)
        && now.tv_sec + 1 - none >= kPatienceSeconds) {
        std::signal(number, SIG_DFL);
        ::raise(number);
    }
    const auto byte = static_cast<char>(number);
    // a full pipe has told enough
    static_cast<void>(!::write(pipeEnds[1], &byte, 1));
    errno = error;
}

void setDefault(int number)
{
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == note)
        std::signal(number, SIG_DFL);
}

} // namespace

EndSignals::EndSignals()
{
    firstAt = 0;
    if (::pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals end the process as they always did
    m_notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &EndSignals::readNumbers);
    for (const int number : kNumbers)
        installSignalHandler(number, note);
}

EndSignals::~EndSignals()
{
    if (m_notifier == nullptr)
        return;
    // `timeout` and terminals send two: the second may come when all is done but the exit
    if (firstAt == 0) {
        for (const int number : kNumbers)
            setDefault(number);
    }
    delete m_notifier; // before its descriptor is closed
    for (int &end : pipeEnds)
        ::close(std::exchange(end, -1));
}

void EndSignals::readNumbers()
{
    std::array<char, 64> bytes{};
    const ssize_t count = ::read(pipeEnds[0], bytes.data(), bytes.size());
    if (count > 0)
        emit received(bytes[0]);
}
