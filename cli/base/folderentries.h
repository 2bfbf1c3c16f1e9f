#pragma once

#include <filesystem>
#include <vector>

namespace cli {

/// What is in a folder, in the order of the names; nothing when it cannot be read.
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path &folder);

} // namespace cli
