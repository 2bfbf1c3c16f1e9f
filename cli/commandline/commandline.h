#pragma once

#include "cli/commandline/options.h"

#include <optional>

namespace cli {

/// The options, or the code to end with: Success after --help, Usage after an error. Help goes to
/// standard output, errors to standard error.
struct ParseResult
{
    std::optional<Options> options;
    ExitCode code = ExitCode::Success;
};
ParseResult parseCommandLine(int argc, const char *const *argv);

} // namespace cli
