#pragma once

#include "cli/session/session.h"
#include "library/controls/control_access.h"

namespace cli {

/// Lets the camera focus once and waits until it has; with `lock`, the focus stays from then on.
ExitCode focus(LibrarySession &session, const Options &options);

/// The same with a camera that has been found and whose node answers `call`.
ExitCode focusOf(LibrarySession &session, const Options &options, const Device &device,
                 const korv::ControlCall &call);

} // namespace cli
