#pragma once

#include "cli/base/librarycall.h"

#include <string>

namespace cli {

/// Prints a text on standard error, "korvcam: " in front of each of its lines.
void printError(const std::string &text);

/// Says in one sentence why the camera library refused the picture `source`, a path, which is called
/// `name`; empty when the picture is not to blame.
std::string pictureProblem(const std::string &source, const std::string &name,
                           const Answer &answer);

/// Why a file cannot be made at `path`, by the errno that making a folder beside it gave.
std::string placeProblem(const std::string &path, int code);

} // namespace cli
