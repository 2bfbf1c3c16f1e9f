#pragma once

#include <string>

namespace cli {

/// Why the camera library at `path` cannot be used, and what helps; empty when it can. Loads it for a
/// moment.
std::string adviceOnLibrary(const std::string &path);

} // namespace cli
