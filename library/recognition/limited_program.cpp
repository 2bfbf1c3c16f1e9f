#include "library/recognition/limited_program.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace korv {

namespace {

constexpr int kCannotExecute = 127; ///< as shells say it
constexpr int kNiceness = 10;
constexpr std::size_t kKeptComplaints = 4096;

struct Pipe
{
    UniqueFd reader;
    UniqueFd writer;
};

Result<Pipe> makePipe()
{
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return systemError(errno, "pipe");
    Pipe pipe{UniqueFd(ends[0]), UniqueFd(ends[1])};
    // a process that leaves its output open after its end must not be waited for
    if (!pipe.reader || !pipe.writer || ::fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK) != 0)
        return systemError(errno, "pipe");
    return pipe;
}

/// What execve(2) takes: the texts are borrowed.
class TextPointers
{
public:
    explicit TextPointers(const std::vector<std::string> &texts)
    {
        for (const std::string &text : texts)
            m_pointers.push_back(const_cast<char *>(text.c_str()));
        m_pointers.push_back(nullptr);
    }
    char *const *get() const { return m_pointers.data(); }

private:
    std::vector<char *> m_pointers;
};

/// All that the new process needs, made before it begins: it has this process's locks but not the
/// threads that would release them, so it may call only what is safe in a signal handler.
struct Birth
{
    const char *path;
    char *const *arguments;
    char *const *environment;
    int input;
    int output;
    int complaints;
    pid_t parent;
    const ProgramLimits *limits;
};

bool limit(decltype(RLIMIT_AS) what, rlim_t value)
{
    const struct rlimit both = {value, value};
    return ::setrlimit(what, &both) == 0;
}

bool setLimits(const ProgramLimits &limits)
{
    // a lower priority that is refused is no reason not to work
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, kNiceness));
    const struct sched_param none = {};
    if (limits.priority == ProgramPriority::Idle)
        static_cast<void>(::sched_setscheduler(0, SCHED_IDLE, &none));
    return limit(RLIMIT_AS, limits.memory) && limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_CORE, 0)
        && limit(RLIMIT_CPU, static_cast<rlim_t>(limits.processorTime.count()));
}

[[noreturn]] void becomeProgram(const Birth &birth)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != birth.parent) // it went before that was set
        ::_exit(kCannotExecute);
    // ignored signals would stay ignored; handlers go by themselves. Not sigaction(3): since 2.41 the
    // GNU C library has a lock for SIGABRT, which nobody releases here when it was held at the fork.
    const std::array<unsigned long, 8> usual{}; // more than the kernel's structure; SIG_DFL is 0
    for (int signal = 1; signal < NSIG; ++signal)
        ::syscall(SYS_rt_sigaction, signal, usual.data(), nullptr, NSIG / 8);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const bool isReady = setLimits(*birth.limits) && ::dup2(birth.input, STDIN_FILENO) >= 0
        && ::dup2(birth.output, STDOUT_FILENO) >= 0 && ::dup2(birth.complaints, STDERR_FILENO) >= 0;
    ::close_range(STDERR_FILENO + 1, UINT_MAX, 0);
    if (isReady)
        ::execve(birth.path, birth.arguments, birth.environment);
    ::_exit(kCannotExecute);
}

/// A started process, which does not outlive the object.
class Child
{
public:
    explicit Child(pid_t process)
        : m_process(process)
        , m_end(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)))
    {
        // where nobody waits for children (SIGCHLD is ignored), one that has ended is gone at once
        if (!m_end && errno == ESRCH)
            m_process = 0;
    }
    ~Child() { static_cast<void>(collect()); }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    /// Becomes readable at the process's end; negative when it has ended already, or when the kernel
    /// has no such thing.
    int end() const { return m_end.get(); }
    bool isGone() const { return m_process == 0; }

    /// Kills what is left of its group; how the process itself ended, as waitpid(2) says it.
    /// Nothing when somebody else has collected it.
    std::optional<int> collect()
    {
        if (m_process <= 0)
            return std::nullopt;
        const pid_t process = std::exchange(m_process, 0);
        // its number is taken as long as nobody has waited for it
        ::kill(-process, SIGKILL);
        ::kill(process, SIGKILL);
        int state = 0;
        while (::waitpid(process, &state, 0) < 0) {
            if (errno != EINTR)
                return std::nullopt;
        }
        return state;
    }

private:
    pid_t m_process;
    UniqueFd m_end;
};

/// Appends what a pipe holds, up to `room` bytes in all; the rest is thrown away. False at its end.
bool drain(int pipe, std::string &to, std::size_t room)
{
    std::array<char, 16384> buffer{};
    for (;;) {
        const ssize_t size = ::read(pipe, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return errno == EAGAIN;
        if (size == 0)
            return false;
        to.append(buffer.data(), std::min(static_cast<std::size_t>(size), room - to.size()));
    }
}

/// The time that is left, for poll(2).
int millisecondsUntil(std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX));
}

/// Reads what the program writes until it ends.
Result<void> follow(const Child &child, const Pipe &output, const Pipe &complaints,
                    const ProgramLimits &limits, const EventFd &stop, ProgramOutput &said)
{
    const auto deadline = std::chrono::steady_clock::now() + limits.time;
    std::array<struct pollfd, 4> wanted = {{{stop.fd(), POLLIN, 0},
                                            {child.end(), POLLIN, 0},
                                            {output.reader.get(), POLLIN, 0},
                                            {complaints.reader.get(), POLLIN, 0}}};
    for (;;) {
        const int ready =
            ::poll(wanted.data(), wanted.size(), child.isGone() ? 0 : millisecondsUntil(deadline));
        if (ready < 0 && errno != EINTR)
            return systemError(errno, "poll");
        if (ready < 0)
            continue;
        if (wanted[0].revents != 0)
            return Error{-ECANCELED, "stopped"};
        const bool hasEnded = child.isGone() || wanted[1].revents != 0;
        // one byte more than allowed shows that there is too much
        if (!drain(output.reader.get(), said.text, limits.output + 1))
            wanted[2].fd = -1;
        if (!drain(complaints.reader.get(), said.complaints, kKeptComplaints))
            wanted[3].fd = -1;
        if (said.text.size() > limits.output)
            return Error{-EMSGSIZE, "too much output"};
        if (hasEnded)
            return {};
        if (ready == 0 || std::chrono::steady_clock::now() >= deadline)
            return Error{-ETIMEDOUT, "not finished in time"};
    }
}

std::string firstLineOf(const std::string &text)
{
    return text.substr(0, text.find('\n'));
}

Result<void> judge(int state, const ProgramOutput &said)
{
    if (WIFSIGNALED(state)) {
        const int signal = WTERMSIG(state);
        if (signal == SIGXCPU || signal == SIGKILL)
            return Error{-EPROTO, "killed, probably for too much processor time or memory"};
        return Error{-EPROTO, "crashed (signal " + std::to_string(signal) + ")"};
    }
    const int status = WEXITSTATUS(state);
    if (status == 0)
        return {};
    std::string text = "ended with status " + std::to_string(status);
    if (const std::string complaint = firstLineOf(said.complaints); !complaint.empty())
        text += ": " + complaint;
    return Error{-EPROTO, text};
}

} // namespace

Result<ProgramOutput> runLimited(const ProgramCall &call, int input, const ProgramLimits &limits,
                                 const EventFd &stop)
{
    Result<Pipe> output = makePipe();
    if (!output)
        return output.error();
    Result<Pipe> complaints = makePipe();
    if (!complaints)
        return complaints.error();
    std::vector<std::string> arguments = {call.path};
    arguments.insert(arguments.end(), call.arguments.begin(), call.arguments.end());
    const TextPointers argumentPointers(arguments);
    const TextPointers environment(call.environment);
    const Birth birth = {
        call.path.c_str(),           argumentPointers.get(),          environment.get(), input,
        output.value().writer.get(), complaints.value().writer.get(), ::getpid(),        &limits};
    // not posix_spawn(3), which can set no limits and no signal for the parent's end; and not
    // fork(2), which would run the handlers of pthread_atfork(3), this library's own too
    const pid_t process = ::_Fork();
    if (process < 0)
        return systemError(errno, "fork");
    if (process == 0)
        becomeProgram(birth);
    ::setpgid(process, process); // whichever of the two comes first
    Child child(process);
    if (child.end() < 0 && !child.isGone())
        return systemError(errno, "pidfd_open");
    output.value().writer.reset();
    complaints.value().writer.reset();
    ProgramOutput said;
    if (Result<void> followed =
            follow(child, output.value(), complaints.value(), limits, stop, said);
        !followed)
        return followed.error();
    if (const std::optional<int> state = child.collect()) {
        if (Result<void> judged = judge(*state, said); !judged)
            return judged.error();
    }
    return said;
}

Result<UniqueFd> memoryFile(const std::vector<ByteView> &parts)
{
    UniqueFd file(::memfd_create("picture", MFD_CLOEXEC));
    if (!file)
        return systemError(errno, "memfd_create");
    for (const ByteView &part : parts) {
        for (std::size_t done = 0; done < part.size;) {
            const ssize_t size = ::write(file.get(), part.data + done, part.size - done);
            if (size < 0 && errno == EINTR)
                continue;
            if (size <= 0)
                return systemError(errno, "write to memory");
            done += static_cast<std::size_t>(size);
        }
    }
    if (::lseek(file.get(), 0, SEEK_SET) != 0)
        return systemError(errno, "lseek");
    return file;
}

} // namespace korv
