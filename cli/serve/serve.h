#pragma once

#include "cli/commandline/options.h"

namespace cli {

/// Offers the camera as a scanner until the user stops it.
ExitCode serve(const Options &options);

} // namespace cli
