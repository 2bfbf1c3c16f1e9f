#pragma once

#include "cli/calls/librarycall.h"

#include <string>

namespace cli {

/// Says in one sentence why the camera library refused the picture `source`, a path, which is called
/// `name`; empty when the picture is not to blame.
std::string pictureProblem(const std::string &source, const std::string &name,
                           const Answer &answer);

} // namespace cli
