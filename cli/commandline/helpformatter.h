#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace cli {

/// Writes the help in the user's language, with the descriptions one below the other also where the
/// names before them have wide characters.
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter();

    std::string make_option(const CLI::Option *option, bool isPositional) const override;
};

/// Prepares a program for which no option and no command has been described yet.
void translateHelp(CLI::App &program);

/// The same of a command that was just added.
void translateCommandHelp(CLI::App &command);

} // namespace cli
