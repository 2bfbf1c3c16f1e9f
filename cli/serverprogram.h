#pragma once

#include "cli/commandline/options.h"

namespace cli {

/// Replaces this process with the program that serves, which takes the same command line. So
/// `korvcam` does without what only serving needs: HTTP, TLS and announcements. Returns only when
/// that program cannot be started, after saying why.
ExitCode becomeServer(char **argv);

} // namespace cli
