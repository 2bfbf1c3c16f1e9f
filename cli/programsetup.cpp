#include "cli/programsetup.h"

#include "util/standarddescriptors.h"

#include <csignal>

namespace cli {

void prepareProgram()
{
    occupyStandardDescriptors();
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
}

} // namespace cli
