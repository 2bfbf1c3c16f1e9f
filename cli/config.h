#pragma once

#include "cli/session/session.h"

namespace cli {

/// `korvcam config`: prints the settings in force, as a settings file would have them, each with
/// where it comes from. Failure when a line of a file or a variable is wrong.
ExitCode config(LibrarySession &session);

} // namespace cli
