#pragma once

#include "cli/commandline/controlchange.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cli {

// Options of commands that work with one camera; each stores into what it is given.

/// -d. `standard` says which camera is meant without it.
CLI::Option *addCameraOption(CLI::App &command, std::optional<std::string> &device,
                             const std::string &standard);

/// -c: changes of controls, in their order.
void addChangeOption(CLI::App &command, std::vector<ControlChange> &changes);

} // namespace cli
