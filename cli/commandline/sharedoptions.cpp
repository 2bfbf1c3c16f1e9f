#include "cli/commandline/sharedoptions.h"

#include "cli/base/translation.h"
#include "cli/commandline/cameraoptions.h"
#include "cli/commandline/helpformatter.h"
#include "cli/commandline/pagesize.h"
#include "library/text/text_languages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

namespace cli {
namespace {

std::string checkResolution(const std::string &text)
{
    Resolution resolution;
    int used = 0;
    const int fields =
        std::sscanf(text.c_str(), "%5dx%5d%n", &resolution.width, &resolution.height, &used);
    const bool complete = fields == 2 && static_cast<std::size_t>(used) == text.size();
    if (!complete || resolution.width <= 0 || resolution.height <= 0)
        return tr("not a resolution like 1920x1080: %1", text);
    return {};
}

Resolution toResolution(const std::string &checkedText)
{
    Resolution resolution;
    std::sscanf(checkedText.c_str(), "%5dx%5d", &resolution.width, &resolution.height);
    return resolution;
}

std::string checkLanguages(const std::string &text)
{
    return korv::areLanguageNames(text) ? std::string()
                                        : tr("no languages such as chi_sim+eng: %1", text);
}

std::string checkPageSize(const std::string &text)
{
    return toPageSize(text)
        ? std::string()
        : tr("not a page size: %1; known: A3, A4, A5, letter, card, or WIDTHxHEIGHT in "
             "millimetres, 2 to 5000 each",
             text);
}

} // namespace

const std::vector<std::string> kPictureFormats{"jpg", "png", "bmp", "tiff", "pdf", "ofd"};
const std::vector<std::string> kDocumentFormats{"pdf", "ofd", "tiff"};

CLI::App *addCommand(CLI::App &program, Options &options, Command command, const char *name,
                     const std::string &description)
{
    CLI::App *const sub = program.add_subcommand(name, description);
    translateCommandHelp(*sub);
    sub->parse_complete_callback([&options, command] { options.command = command; });
    return sub;
}

CLI::Validator hidden(const CLI::Validator &check)
{
    return check.description("");
}

void addChoice(CLI::App &command, const char *name, const std::vector<std::string> &choices,
               const std::string &description, const std::function<void(int code)> &store)
{
    const auto storePosition = [choices, store](const std::string &choice) {
        const auto found = std::find(choices.begin(), choices.end(), choice);
        store(static_cast<int>(found - choices.begin()));
    };
    command
        .add_option_function<std::string>(name, storePosition,
                                          tr("%1 (default: %2)", description, choices.front()))
        ->type_name(CLI::detail::join(choices, "|"))
        ->check(hidden(CLI::IsMember(choices)));
}

void addDeviceOption(CLI::App &command, Options &options)
{
    addCameraOption(command, options.device, tr("the first"));
}

void addResolutionOption(CLI::App &command, Options &options)
{
    command
        .add_option_function<std::string>(
            "-r,--resolution",
            [&options](const std::string &text) { options.resolution = toResolution(text); },
            tr("Size, one of `modes` (default: the one in use)"))
        ->type_name("WxH")
        ->check(CLI::Validator(checkResolution, ""));
}

void addQualityOption(CLI::App &command, Options &options, int standard)
{
    command.add_option("-q,--quality", options.quality, tr("JPEG quality (default: %1)", standard))
        ->type_name("1-100")
        ->check(hidden(CLI::Range(1, 100)));
}

void addTimeoutOption(CLI::App &command, Options &options)
{
    command
        .add_option_function<int>(
            "--timeout",
            [&options](int seconds) { options.timeoutMs = seconds * kMillisecondsPerSecond; },
            tr("Seconds to wait for a frame (default: 10)"))
        ->type_name("S")
        ->check(hidden(CLI::Range(1, 3600)));
}

void addForceFlag(CLI::App &command, Options &options)
{
    command.add_flag("-f,--force", options.force,
                     tr("Replace an existing file (default: take the next free name)"));
}

void addJsonFlag(CLI::App &command, Options &options)
{
    command.add_flag("--json", options.json, tr("Print one JSON object a line (default: text)"));
}

void addProgressFlag(CLI::App &command, Options &options)
{
    command.add_flag_callback(
        "--no-progress", [&options] { options.progress = false; },
        tr("Do not show progress (default: on a terminal, after a second)"));
}

void addCleanFlag(CLI::App &command, Options &options)
{
    command.add_flag("--clean", options.clean,
                     tr("Even out light and shadow, so that paper is white (default: off)"));
}

void addCompactFlag(CLI::App &command, Options &options)
{
    command.add_flag(
        "--compact", options.compact,
        tr("Make pdf pages of writing a twentieth as large, in layers (default: off)"));
}

void addTextOption(CLI::App &command, Options &options)
{
    command
        .add_option("--text", options.text,
                    tr("Recognise the writing on pages of pdf and ofd documents, in languages "
                       "such as chi_sim+eng (default: by the settings, else no)"))
        ->type_name("LANGS")
        ->check(CLI::Validator(checkLanguages, ""));
}

void addUprightFlag(CLI::App &command, Options &options)
{
    command.add_flag("--upright", options.upright,
                     tr("Turn pages of documents upright where their writing says for sure how "
                        "they lie (default: those that get text)"));
}

void addDocumentOptions(CLI::App &command, Options &options)
{
    command
        .add_option("--title", options.title,
                    tr("Title of the document (default: the file's name)"))
        ->type_name("TEXT");
    command
        .add_option_function<std::string>(
            "--page-size",
            [&options](const std::string &text) {
                options.pageSize = toPageSize(text).value_or(std::string());
            },
            tr("Size of every page; W and H in millimetres (default: by the picture)"))
        ->type_name("A3|A4|A5|letter|card|WxH")
        ->check(CLI::Validator(checkPageSize, ""));
    addTextOption(command, options);
    addUprightFlag(command, options);
    addCompactFlag(command, options);
}

void addOutputOption(CLI::App &command, Options &options, const std::string &description,
                     std::string (*check)(const std::string &path), const char *names)
{
    command.add_option(names, options.destination, description)
        ->type_name("FILE")
        ->required()
        ->check(CLI::Validator(check, ""));
}

void addFormatOption(CLI::App &command, Options &options, const std::vector<std::string> &formats)
{
    command
        .add_option("--format", options.format,
                    tr("Format on standard output (default: %1)", formats.front()))
        ->type_name(CLI::detail::join(formats, "|"))
        ->check(hidden(CLI::IsMember(formats)));
}

void concludeOutput(Options &options, const std::string &standard)
{
    if (!options.writesToOutput() && !options.format.empty())
        throw CLI::ValidationError(
            tr("--format goes with -o - only; the extension of a file chooses its format"));
    if (options.writesToOutput() && options.format.empty())
        options.format = standard;
}

} // namespace cli
