#include "tests/cli/process.h"

#include "tests/support/surroundings.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace support {
namespace {

constexpr int kNotStarted = 127;
constexpr int kSignalBase = 128;

std::string contentOf(int fd)
{
    struct stat state = {};
    fstat(fd, &state);
    std::string text(static_cast<std::size_t>(state.st_size), '\0');
    const ssize_t got = pread(fd, text.data(), text.size(), 0);
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

} // namespace

Process::Process(const std::vector<std::string> &arguments,
                 const std::map<std::string, std::string> &environment)
    : m_outputFd(memfd_create("output", MFD_CLOEXEC))
    , m_errorFd(memfd_create("errors", MFD_CLOEXEC))
{
    std::vector<char *> argv;
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    m_pid = fork();
    if (m_pid != 0)
        return;
    setenv("LC_ALL", "C", 1); // whatever language the tests are run in
    for (const auto &[name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    // a test that runs in the background of a shell was started to ignore some of these
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        std::signal(signal, SIG_DFL);
    dup2(m_outputFd, STDOUT_FILENO);
    dup2(m_errorFd, STDERR_FILENO);
    execvp(argv[0], argv.data());
    _exit(kNotStarted);
}

Process::~Process()
{
    if (!m_waited && m_pid > 0) {
        kill(m_pid, SIGKILL);
        wait();
    }
    close(m_outputFd);
    close(m_errorFd);
}

std::string Process::outputSoFar() const
{
    return contentOf(m_outputFd);
}

bool Process::waitForOutput(const std::string &text, int milliseconds) const
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds) * slowness();
    while (outputSoFar().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

Finished Process::wait()
{
    int state = 0;
    waitpid(m_pid, &state, 0);
    m_waited = true;
    Finished finished;
    finished.status = WIFEXITED(state) ? WEXITSTATUS(state) : kSignalBase + WTERMSIG(state);
    finished.output = contentOf(m_outputFd);
    finished.errors = contentOf(m_errorFd);
    return finished;
}

Finished runProgram(const std::vector<std::string> &arguments,
                    const std::map<std::string, std::string> &environment)
{
    return Process(arguments, environment).wait();
}

} // namespace support
