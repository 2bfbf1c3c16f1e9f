#pragma once

#include "cli/commandline/options.h"

namespace CLI {
class App;
} // namespace CLI

namespace cli {

// Each describes the command of its name, or commands that belong together, and lets it fill
// `options`, which is borrowed until the command line has been parsed. Help lists the commands in the
// order in which they were added.

void addCameraCommands(CLI::App &program, Options &options); ///< list, modes, watch, doctor
void addPhotographCommands(CLI::App &program, Options &options); ///< snap, scan
void addServeCommand(CLI::App &program, Options &options);
void addControlCommands(CLI::App &program, Options &options); ///< controls, focus
void addFileCommands(CLI::App &program, Options &options); ///< convert, combine, text
void addSettingsCommands(CLI::App &program, Options &options); ///< config, calibrate

} // namespace cli
