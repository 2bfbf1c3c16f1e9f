#pragma once

#include "cli/session/session.h"

namespace cli {

/// `korvcam calibrate`: measures the scale of the desk by a sheet of known size that lies on it, and
/// saves it in the user's settings file for that camera model and size of frames.
ExitCode calibrate(LibrarySession &session, const Options &options);

} // namespace cli
