#pragma once

#include "cli/session/session.h"

namespace cli {

/// Takes the photographs that the options ask for and prints their names.
ExitCode snap(LibrarySession &session, const Options &options);

} // namespace cli
