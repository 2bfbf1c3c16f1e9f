#pragma once

#include "cli/commandline/options.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
class Validator;
} // namespace CLI

namespace cli {

// Pieces that the descriptions of several commands are put together from. Each borrows the Options
// that it fills until the command line has been parsed.

/// Formats of single pictures, the usual one first, and of documents.
extern const std::vector<std::string> kPictureFormats;
extern const std::vector<std::string> kDocumentFormats;

/// A command; `options.command` becomes `command` when it is given.
CLI::App *addCommand(CLI::App &program, Options &options, Command command, const char *name,
                     const std::string &description);

constexpr int kMillisecondsPerSecond = 1000;

/// The check without its own text in the help, which would hide the option's description.
CLI::Validator hidden(const CLI::Validator &check);

/// An option whose value is one of `choices`, the first by default. `store` is handed the position of
/// the one that is given.
void addChoice(CLI::App &command, const char *name, const std::vector<std::string> &choices,
               const std::string &description, const std::function<void(int code)> &store);

/// -d, the first camera by default.
void addDeviceOption(CLI::App &command, Options &options);

/// -r
void addResolutionOption(CLI::App &command, Options &options);

/// -q
void addQualityOption(CLI::App &command, Options &options, int standard = 95);

/// --timeout
void addTimeoutOption(CLI::App &command, Options &options);

/// -f
void addForceFlag(CLI::App &command, Options &options);

/// --json
void addJsonFlag(CLI::App &command, Options &options);

/// --no-progress
void addProgressFlag(CLI::App &command, Options &options);

/// --clean
void addCleanFlag(CLI::App &command, Options &options);

/// --compact
void addCompactFlag(CLI::App &command, Options &options);

/// --text
void addTextOption(CLI::App &command, Options &options);

/// --upright
void addUprightFlag(CLI::App &command, Options &options);

/// --title, --page-size, --text, --upright and --compact: what is said of a whole document.
void addDocumentOptions(CLI::App &command, Options &options);

/// -o, or what `names` says: the new file, required.
void addOutputOption(CLI::App &command, Options &options, const std::string &description,
                     std::string (*check)(const std::string &path),
                     const char *names = "-o,--output");

/// --format, of a command whose new file may be "-": one of `formats`, the first by default.
void addFormatOption(CLI::App &command, Options &options, const std::vector<std::string> &formats);

/// What final_callback() is to do for it: checks what "-" goes with; `standard` is the default format.
void concludeOutput(Options &options, const std::string &standard);

} // namespace cli
