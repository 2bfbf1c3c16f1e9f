#include "cli/base/programsetup.h"

#include "cli/base/translation.h"
#include "util/standarddescriptors.h"

#include <csignal>
#include <cstdlib>

namespace cli {

void prepareProgram()
{
    occupyStandardDescriptors();
    // the library then keeps its hands off the pages of a document that failed
    setenv("KORV_CAMERA_NO_RESCUE", "1", 1);
    useMessagesIn(messageFolder());
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
}

} // namespace cli
