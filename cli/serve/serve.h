#pragma once

#include "cli/session/session.h"

namespace cli {

/// Offers the camera as a scanner until the user stops it.
ExitCode serve(LibrarySession &session, const Options &options);

} // namespace cli
