#pragma once

#include <string>

namespace cli {

/// What a file holds; nothing when it cannot be read.
std::string contentOf(const std::string &path);

} // namespace cli
