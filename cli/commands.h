#pragma once

#include "cli/commandline/options.h"

namespace cli {

/// Carries out any command but serve, which is a program of its own (becomeServer()): loads the
/// library, works, unloads. Results go to standard output, one line each; what went wrong goes to
/// standard error.
ExitCode run(const Options &options);

} // namespace cli
