#include "cli/commandline/cameraoptions.h"

#include "cli/base/translation.h"

#include <CLI/CLI.hpp>

namespace cli {
namespace {

/// "name=value"; throws CLI11's error for anything else.
ControlChange toChange(const std::string &text)
{
    const std::size_t sign = text.find('=');
    if (sign == 0 || sign == std::string::npos || sign + 1 == text.size())
        throw CLI::ValidationError("-c", tr("not of the form name=value: '%1'", text));
    return {text.substr(0, sign), text.substr(sign + 1)};
}

} // namespace

CLI::Option *addCameraOption(CLI::App &command, std::optional<std::string> &device,
                             const std::string &standard)
{
    return command
        .add_option("-d,--device", device,
                    tr("Index, node, VVVV:PPPP or name of the camera (default: %1)", standard))
        ->type_name("CAMERA")
        ->check(CLI::Validator(
            [](const std::string &text) {
                return text.empty() ? tr("names no camera") : std::string();
            },
            ""));
}

void addChangeOption(CLI::App &command, std::vector<ControlChange> &changes)
{
    command
        .add_option_function<std::vector<std::string>>(
            "-c,--set",
            [&changes](const std::vector<std::string> &texts) {
                for (const std::string &text : texts)
                    changes.push_back(toChange(text));
            },
            tr("Set controls; a menu's entry by number or name (default: list all controls)"))
        ->type_name("NAME=VALUE,...")
        ->delimiter(',');
}

} // namespace cli
