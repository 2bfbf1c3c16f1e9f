#pragma once

#include "library/base/bytes.h"
#include "library/base/event_fd.h"
#include "library/base/result.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace korv {

/// A program to run, without a shell.
struct ProgramCall
{
    std::string path; ///< of the file; nobody searches for it
    std::vector<std::string> arguments; ///< behind the program's own name
    std::vector<std::string> environment; ///< "NAME=value"; the only variables that it has
};

/// Who goes first when processors are short.
enum class ProgramPriority {
    Low, ///< somebody waits: behind what runs at the usual priority
    Idle, ///< nobody waits: only where a processor has nothing else to do
};

struct ProgramLimits
{
    std::chrono::milliseconds time{20'000}; ///< by the clock
    std::chrono::seconds processorTime{120};
    std::size_t memory = std::size_t{1} << 30; ///< bytes of addresses
    std::size_t output = std::size_t{16} << 20; ///< bytes on standard output
    ProgramPriority priority = ProgramPriority::Low;
};

/// What a program that succeeded has written.
struct ProgramOutput
{
    std::string text; ///< standard output
    std::string complaints; ///< the beginning of standard error
};

/// Runs a program that may crash, hang or go wild, and waits for its end. `input` is its standard
/// input, a file. It runs in a process group of its own, writes no file (RLIMIT_FSIZE is 0), and is
/// killed with the group where it exceeds a limit, when `stop` is set, and when the calling thread
/// ends. Processes that it leaves behind in its group are killed, too.
///
/// Errors: -ETIMEDOUT, -ECANCELED by `stop`, -EMSGSIZE too much output, -EPROTO the program failed
/// or crashed; otherwise what the system answered. Where this process ignores SIGCHLD, or waits for
/// every child by itself, nobody knows how the program ended, and its output counts.
/// Any thread.
Result<ProgramOutput> runLimited(const ProgramCall &call, int input, const ProgramLimits &limits,
                                 const EventFd &stop);

/// A file in memory that holds the parts one after the other, to be read from its start.
/// Errors: -EMFILE, -ENFILE, -ENOMEM.
Result<UniqueFd> memoryFile(const std::vector<ByteView> &parts);

} // namespace korv
