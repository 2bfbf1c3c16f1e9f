#pragma once

#include <optional>
#include <string>

namespace cli {

/// The text of a line that the camera library wrote to standard error, without the library's name
/// and the level: "text" of "korvcamera: warning: text". Nothing for a line that is not the
/// library's.
std::optional<std::string> textOfLibraryLine(const std::string &line);

} // namespace cli
