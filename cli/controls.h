#pragma once

#include "cli/session/session.h"
#include "library/controls/control_access.h"

#include <functional>

namespace cli {

/// Lists the controls of a camera, sets some, keeps or forgets values for its model, as the options
/// say. Nothing is set when one of the changes cannot be.
ExitCode controls(LibrarySession &session, const Options &options);

/// The same with a camera that has been found and whose node answers `call`.
ExitCode controlsOf(LibrarySession &session, const Options &options, const Device &device,
                    const korv::ControlCall &call);

/// Opens the camera's node for its controls and works with it; says why that is not possible.
ExitCode openControls(const Device &device,
                      const std::function<ExitCode(const korv::ControlCall &)> &work);

} // namespace cli
