#pragma once

#include "cli/session/session.h"

namespace cli {

/// Lets the camera focus once and waits until it has; with `lock`, the focus stays from then on.
ExitCode focus(Session &session, const Options &options);

} // namespace cli
