#pragma once

#include <csignal>
#include <pthread.h>
#include <thread>
#include <utility>

namespace korv {

/// While it lives, the calling thread takes no signal but those of its own faults. A thread that it
/// starts meanwhile inherits that.
class SignalBlock
{
public:
    SignalBlock();
    ~SignalBlock();
    SignalBlock(const SignalBlock &) = delete;
    SignalBlock &operator=(const SignalBlock &) = delete;

private:
    sigset_t m_before{};
};

/// Starts a thread of the library. Signals go to the program's own threads: a handler that ran here
/// would surprise the program, and an interrupted call the driver. `name`, at most 15 characters, is
/// what top, gdb and core files show (pthread_setname_np(3)); it must be a literal.
///
/// Throws std::system_error or std::bad_alloc when no thread is available.
template <typename Work> std::thread startThread(const char *name, Work work)
{
    const SignalBlock block;
    return std::thread([name, work = std::move(work)] {
        pthread_setname_np(pthread_self(), name);
        work();
    });
}

} // namespace korv
