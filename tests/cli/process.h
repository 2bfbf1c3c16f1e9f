#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace support {

/// How a program ended and what it wrote.
struct Finished
{
    int status = -1; ///< exit status, or 128 + the signal that ended it
    std::string output;
    std::string errors;
};

/// A running program whose output is collected; ended with the object.
class Process
{
public:
    /// Starts arguments[0], looked up in PATH. `environment` is added to ours. Signals that ask a
    /// program to stop do so, whatever ours are set to.
    explicit Process(const std::vector<std::string> &arguments,
                     const std::map<std::string, std::string> &environment = {});
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    pid_t pid() const { return m_pid; }

    /// What it has written to standard output so far.
    std::string outputSoFar() const;

    /// Waits up to that long, in an emulator longer, until the output holds the text.
    bool waitForOutput(const std::string &text, int milliseconds) const;

    /// Waits for its end.
    Finished wait();

private:
    pid_t m_pid = -1;
    int m_outputFd;
    int m_errorFd;
    bool m_waited = false;
};

/// Starts a program and waits for its end.
Finished runProgram(const std::vector<std::string> &arguments,
                    const std::map<std::string, std::string> &environment = {});

} // namespace support
