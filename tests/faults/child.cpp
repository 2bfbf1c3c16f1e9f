#include "tests/faults/child.h"

#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

int inChild(const std::function<int()> &work)
{
    const pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error("fork");
    if (child == 0) {
        int result = 100;
        try {
            result = work();
        } catch (...) { // a child must not run the parent's tests
        }
        ::_exit(result);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child)
        throw std::runtime_error("waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
