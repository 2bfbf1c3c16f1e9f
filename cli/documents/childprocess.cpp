#include "cli/documents/childprocess.h"

#include "cli/base/descriptor.h"
#include "cli/base/errors.h"
#include "cli/base/translation.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace cli {
namespace {

/// A process that was killed while the kernel works for it, on a slow disk, is not waited for
/// longer.
constexpr std::chrono::milliseconds kKilledWithin{700};
constexpr std::chrono::milliseconds kLookEvery{5};
constexpr std::chrono::milliseconds kTickEvery{100};

/// Cuts what arrives in pieces into lines.
class LineSplitter
{
public:
    explicit LineSplitter(const std::function<void(const std::string &)> &onLine)
        : m_onLine(onLine)
    {
    }
    LineSplitter(const LineSplitter &) = delete;
    LineSplitter &operator=(const LineSplitter &) = delete;
    ~LineSplitter()
    {
        if (!m_rest.empty())
            m_onLine(m_rest);
    }

    void add(const char *text, std::size_t size)
    {
        m_rest.append(text, size);
        for (std::size_t end = m_rest.find('\n'); end != std::string::npos;
             end = m_rest.find('\n')) {
            m_onLine(m_rest.substr(0, end));
            m_rest.erase(0, end + 1);
        }
    }

private:
    const std::function<void(const std::string &)> &m_onLine;
    std::string m_rest;
};

[[noreturn]] void runAndEnd(const std::function<int()> &work, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // it went before that was set
        _exit(EXIT_FAILURE);
    int status = EXIT_FAILURE;
    try {
        status = work();
    } catch (const std::exception &error) {
        printError(tr("unexpected failure: %1", error.what()));
    }
    // nothing else: what this process inherited belongs to its parent
    std::fflush(stdout);
    _exit(status);
}

/// Sleeps until `descriptor` can be read without waiting; `onTick` may be empty.
Wake awaitInput(Wakeup &wakeup, int descriptor, const std::function<void()> &onTick)
{
    if (!onTick)
        return wakeup.waitFor(descriptor);
    for (;;) {
        const Wake wake = wakeup.waitFor(descriptor, Wakeup::Clock::now() + kTickEvery);
        if (wake != Wake::TimedOut)
            return wake;
        onTick();
    }
}

/// Reads until the other end is closed; Interrupted when the user wants to stop first.
Wake readAll(Wakeup &wakeup, int descriptor, const std::function<void(const std::string &)> &onLine,
             const std::function<void()> &onTick)
{
    const std::function<void(const std::string &)> ignore = [](const std::string &) {};
    LineSplitter lines(onLine ? onLine : ignore);
    std::array<char, 4096> buffer{};
    for (;;) {
        if (awaitInput(wakeup, descriptor, onTick) == Wake::Interrupted)
            return Wake::Interrupted;
        const ssize_t size = read(descriptor, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return Wake::Notified;
        lines.add(buffer.data(), static_cast<std::size_t>(size));
    }
}

ChildResult collect(pid_t child)
{
    int state = 0;
    while (waitpid(child, &state, 0) < 0) {
        if (errno != EINTR)
            return {ChildEnd::NotStarted, errno};
    }
    if (WIFEXITED(state))
        return {ChildEnd::Done, WEXITSTATUS(state)};
    return {ChildEnd::Crashed, WTERMSIG(state)};
}

void killAndCollect(pid_t child)
{
    kill(child, SIGKILL);
    const auto deadline = Wakeup::Clock::now() + kKilledWithin;
    while (waitpid(child, nullptr, WNOHANG) == 0 && Wakeup::Clock::now() < deadline)
        std::this_thread::sleep_for(kLookEvery);
}

} // namespace

ChildResult runInChild(Wakeup &wakeup, const std::function<int()> &work,
                       const std::function<void(const std::string &)> &onLine,
                       const std::function<void(pid_t child)> &onTick)
{
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0)
        return {ChildEnd::NotStarted, errno};
    const Descriptor reader(pipe[0]);
    Descriptor writer(pipe[1]);
    std::fflush(nullptr); // or both of us would write it
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        if (onLine)
            dup2(writer.get(), STDERR_FILENO);
        runAndEnd(work, parent);
    }
    if (child < 0)
        return {ChildEnd::NotStarted, errno};
    writer.reset(); // so that the child's end is the end of the pipe
    std::function<void()> tick;
    if (onTick)
        tick = [&] { onTick(child); };
    if (readAll(wakeup, reader.get(), onLine, tick) != Wake::Interrupted)
        return collect(child);
    killAndCollect(child);
    return {ChildEnd::Interrupted, 0};
}

} // namespace cli
