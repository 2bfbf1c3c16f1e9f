#pragma once

#include "cli/session/session.h"

namespace cli {

/// Takes pages as the options ask for, prints a line for each, and makes a document of them in the end,
/// also after an error. The session is not opened.
ExitCode scan(LibrarySession &session, const Options &options);

} // namespace cli
