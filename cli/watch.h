#pragma once

#include "cli/session/session.h"

namespace cli {

/// Prints device events until the options' limits are reached or the user stops it.
ExitCode watch(LibrarySession &session, const Options &options);

} // namespace cli
