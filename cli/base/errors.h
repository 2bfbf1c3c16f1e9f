#pragma once

#include <string>

namespace cli {

/// Prints a text on standard error, "korvcam: " in front of each of its lines.
void printError(const std::string &text);

/// Why a file cannot be made at `path`, by the errno that making a folder beside it gave.
std::string placeProblem(const std::string &path, int code);

} // namespace cli
