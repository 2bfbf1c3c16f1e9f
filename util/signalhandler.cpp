#include "util/signalhandler.h"

#include <csignal>

bool installSignalHandler(int number, void (*handler)(int))
{
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) != 0 || (action.sa_flags & SA_SIGINFO) != 0
        || action.sa_handler != SIG_DFL)
        return false;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    return ::sigaction(number, &action, nullptr) == 0;
}
