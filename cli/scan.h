#pragma once

#include "cli/session/session.h"

namespace cli {

/// Takes pages as the options ask for, tells of each, and makes a document of them in the end,
/// whatever ended it. The session is not opened.
ExitCode scan(Session &session, const Options &options);

} // namespace cli
