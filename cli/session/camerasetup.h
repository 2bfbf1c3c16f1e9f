#pragma once

#include "cli/session/opendevice.h"
#include "cli/session/session.h"

namespace cli {

/// Starts a stream for photographs: selects the resolution that the options ask for, if any, hands
/// quality, crop, rotation and colours to the library, and lets frames come to the FrameReceiver
/// that is active. Says what went wrong.
ExitCode startPhotographing(LibrarySession &session, const Options &options,
                            const OpenDevice &camera, const Device &device);

} // namespace cli
