#pragma once

#include "cli/commandline/options.h"

namespace cli {

/// Whether languages of writing are named at all: by the options, the environment or the settings.
bool hasTextLanguages(const Options &options);

/// Tells the camera library, before it is loaded, in which languages it recognises the writing on
/// pages, whether it turns them upright, and where what it recognised outlives a command.
void passTextSettings(const Options &options);

} // namespace cli
