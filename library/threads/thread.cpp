#include "library/threads/thread.h"

namespace korv {

SignalBlock::SignalBlock()
{
    sigset_t all;
    sigfillset(&all);
    // a fault that is blocked ends the process without asking the program's crash handler
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
        sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, &m_before);
}

SignalBlock::~SignalBlock()
{
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace korv
