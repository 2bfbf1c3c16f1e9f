#pragma once

#include "cli/session/opendevice.h"
#include "cli/session/session.h"

namespace cli {

/// Selects the resolution that the options ask for, if any; says so when the camera does not offer
/// it.
ExitCode selectResolution(Session &session, const Options &options, const OpenDevice &camera,
                          int index);

/// Hands the options of photographs to the library: quality, crop, rotation, colours.
ExitCode setPhotographOptions(Session &session, const Options &options);

} // namespace cli
