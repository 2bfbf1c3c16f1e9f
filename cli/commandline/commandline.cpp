#include "cli/commandline/commandline.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/commandline/cameraoptions.h"
#include "cli/commandline/commanddescriptions.h"
#include "cli/commandline/helpformatter.h"
#include "cli/commandline/suggestion.h"
#include "installpaths.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

namespace cli {
namespace {

constexpr const char *kFooter =
    trLater("Exit status: 0 success, 1 failed, 2 usage error, 3 camera not found,\n"
            "4 timed out waiting for a frame, 5 cannot load the library, 129 terminal closed,\n"
            "130 interrupted, 143 terminated.\n"
            "`korvcam COMMAND --help` explains a command.");

/// What stands where the command should; empty when nothing does.
std::string commandWord(int argc, const char *const *argv)
{
    for (int at = 1; at < argc; ++at) {
        const std::string word = argv[at];
        if (word == "--library" || word == "--desk" || word == "-d" || word == "--device")
            ++at; // its value
        else if (word.empty() || word[0] != '-')
            return word;
    }
    return {};
}

/// Fills an Options from CLI11's callbacks; lives as long as the parse.
class Parser
{
public:
    Parser()
        : m_app(tr("Command-line tool for document cameras."), "korvcam")
    {
        m_options.library = installpaths::kCameraLibrary;
        translateHelp(m_app);
        m_app.footer(tr(kFooter));
        m_app.set_version_flag("--version", "korvcam " KORV_VERSION,
                               tr("Display program version information and exit"));
        m_app.require_subcommand(1);
        m_app.fallthrough();
        m_app
            .add_option("--library", m_options.library,
                        tr("Camera library to load (default: %1)", m_options.library))
            ->type_name("PATH");
        m_app
            .add_option("--desk", m_options.desk,
                        tr("Simulated desk: a folder, or 'builtin' (default: $KORV_CAMERA_DESK)"))
            ->type_name("DIR|builtin");
        m_app.add_flag("-v,--verbose", m_options.verbose,
                       tr("Print library calls and debug messages to standard error"));
        // the commands list it; before them it is the same
        m_commonDevice = addCameraOption(m_app, m_options.device, "")->group("");
        addCameraCommands(m_app, m_options);
        addPhotographCommands(m_app, m_options);
        addServeCommand(m_app, m_options);
        addControlCommands(m_app, m_options);
        addFileCommands(m_app, m_options);
        addSettingsCommands(m_app, m_options);
    }

    ParseResult parse(int argc, const char *const *argv)
    {
        try {
            m_app.parse(argc, argv);
        } catch (const CLI::Success &request) {
            m_app.exit(request);
            if (std::cout.flush())
                return {std::nullopt, ExitCode::Success};
            printError(tr("cannot write to standard output"));
            return {std::nullopt, ExitCode::Failure};
        } catch (const CLI::ParseError &error) {
            return refuse(trSentence(error.what()), commandWord(argc, argv));
        }
        if (const std::string command = commandWithoutCamera(); !command.empty())
            return refuse(tr("it takes no camera"), command);
        return {m_options, ExitCode::Success};
    }

private:
    /// Says what is wrong with the command line, after `word` stood in the command's place.
    ParseResult refuse(const std::string &why, const std::string &word) const
    {
        const std::vector<CLI::App *> parsed = m_app.get_subcommands();
        if (!parsed.empty()) {
            const std::string command = parsed.front()->get_name();
            printError(command + ": " + why);
            printError(tr("`korvcam %1 --help` lists its options", command));
            return {std::nullopt, ExitCode::Usage};
        }
        std::vector<std::string> names;
        for (const CLI::App *command : m_app.get_subcommands([](const CLI::App *) { return true; }))
            names.push_back(command->get_name());
        const std::string list = CLI::detail::join(names, ", ");
        const std::string meant = nearest(word, names);
        if (word.empty())
            printError(tr("a command is needed: %1", list));
        else if (std::find(names.begin(), names.end(), word) != names.end())
            printError(why);
        else
            printError((meant.empty() ? tr("unknown command '%1'", word)
                                      : tr("unknown command '%1'; did you mean '%2'?", word, meant))
                       + "\n" + tr("commands: %1", list));
        printError(tr("`korvcam --help` explains them"));
        return {std::nullopt, ExitCode::Usage};
    }

    /// The command that was given a camera although it takes none; empty: no such mistake.
    std::string commandWithoutCamera() const
    {
        const CLI::App *const command = m_app.get_subcommands().front();
        const bool takesCamera = command->get_option_no_throw("--device") != nullptr;
        return m_commonDevice->count() > 0 && !takesCamera ? command->get_name() : std::string();
    }

    CLI::App m_app;
    Options m_options;
    CLI::Option *m_commonDevice = nullptr;
};

} // namespace

ParseResult parseCommandLine(int argc, const char *const *argv)
{
    Parser parser;
    return parser.parse(argc, argv);
}

} // namespace cli
