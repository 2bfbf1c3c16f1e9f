#include "cli/programsetup.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace cli {

void prepareProgram()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0)
            continue;
        // the wrong way round, so that reading or writing goes on to fail; open() takes the lowest
        // free number, which is this one
        [[maybe_unused]] const int opened =
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
}

} // namespace cli
