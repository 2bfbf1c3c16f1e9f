#include "cli/commandline/helpformatter.h"

#include "cli/base/translation.h"

#include <cstdlib>
#include <cwchar>
#include <memory>
#include <sstream>

namespace cli {
namespace {

/// How many columns of a terminal the text takes. What is no text of the locale counts by its bytes.
std::size_t columnsOf(const std::string &text)
{
    std::wstring wide(text.size(), L'\0');
    const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
    if (length == static_cast<std::size_t>(-1))
        return text.size();
    const int columns = wcswidth(wide.data(), length);
    return columns < 0 ? text.size() : static_cast<std::size_t>(columns);
}

} // namespace

HelpFormatter::HelpFormatter()
{
    label("Usage", tr("Usage"));
    label("OPTIONS", tr("OPTIONS"));
    label("SUBCOMMAND", tr("SUBCOMMAND"));
    label("Positionals", tr("Positionals"));
    label("REQUIRED", tr("REQUIRED"));
    label("Needs", tr("Needs"));
}

std::string HelpFormatter::make_option(const CLI::Option *option, bool isPositional) const
{
    const std::string name = make_option_name(option, isPositional) + make_option_opts(option);
    // CLI11 counts bytes
    const std::size_t surplus = name.size() - columnsOf(name);
    std::stringstream out;
    CLI::detail::format_help(out, name, make_option_desc(option), get_column_width() + surplus);
    return out.str();
}

void translateHelp(CLI::App &program)
{
    program.formatter(std::make_shared<HelpFormatter>());
    program.option_defaults()->group(tr("Options"));
    program.set_help_flag("-h,--help", tr("Print this help message and exit"));
}

void translateCommandHelp(CLI::App &command)
{
    command.group(tr("Subcommands"));
    // older than the defaults that the command has from the program
    command.get_help_ptr()->group(tr("Options"));
}

} // namespace cli
