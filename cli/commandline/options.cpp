#include "cli/commandline/options.h"

#include "cli/base/errors.h"
#include "cli/commandline/cameraoptions.h"
#include "cli/commandline/namechecks.h"
#include "cli/commandline/pagesize.h"
#include "cli/commandline/suggestion.h"
#include "installpaths.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>

namespace cli {
namespace {

constexpr char kFooter[] =
    "Exit status: 0 success, 1 failed, 2 usage error, 3 camera not found,\n"
    "4 timed out waiting for a frame, 5 cannot load the library, 129 terminal closed,\n"
    "130 interrupted, 143 terminated.\n"
    "`korvcam COMMAND --help` explains a command.";

constexpr int kMillisecondsPerSecond = 1000;
constexpr int kMaxEvents = 1'000'000;

// a choice's position is the code that the camera library takes
const std::vector<std::string> kColors{"color", "gray", "lineart"};
const std::vector<std::string> kRotations{"none", "left", "right", "180"};

// a choice's position is that of ScanOn
const std::vector<std::string> kTriggers{"turn", "key", "button", "interval"};
constexpr double kUsualInterval = 5; ///< seconds between scanned pages

int codeOf(const std::string &choice, const std::vector<std::string> &choices)
{
    const auto found = std::find(choices.begin(), choices.end(), choice);
    return static_cast<int>(found - choices.begin());
}

std::string checkResolution(const std::string &text)
{
    Resolution resolution;
    int used = 0;
    const int fields =
        std::sscanf(text.c_str(), "%5dx%5d%n", &resolution.width, &resolution.height, &used);
    const bool complete = fields == 2 && static_cast<std::size_t>(used) == text.size();
    if (!complete || resolution.width <= 0 || resolution.height <= 0)
        return "not a resolution like 1920x1080: " + text;
    return {};
}

Resolution toResolution(const std::string &checkedText)
{
    Resolution resolution;
    std::sscanf(checkedText.c_str(), "%5dx%5d", &resolution.width, &resolution.height);
    return resolution;
}

/// The check without its own text in the help, which would hide the option's description.
CLI::Validator hidden(CLI::Validator check)
{
    return check.description("");
}

std::string checkPageSize(const std::string &text)
{
    return toPageSize(text) ? std::string()
                            : "not a page size: " + text
            + "; known: A3, A4, A5, letter, card, or WIDTHxHEIGHT in millimetres, 2 to 5000 each";
}

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
        : m_app("Command-line tool for document cameras.", "korvcam")
    {
        m_options.library = installpaths::kCameraLibrary;
        m_app.footer(kFooter);
        m_app.set_version_flag("--version", "korvcam " KORV_VERSION);
        m_app.require_subcommand(1);
        m_app.fallthrough();
        m_app
            .add_option("--library", m_options.library,
                        "Camera library to load (default: " + m_options.library + ")")
            ->type_name("PATH");
        m_app
            .add_option("--desk", m_options.desk,
                        "Simulated desk: a folder, or 'builtin' (default: $KORV_CAMERA_DESK)")
            ->type_name("DIR|builtin");
        m_app.add_flag("-v,--verbose", m_options.verbose,
                       "Print library calls and debug messages to standard error");
        // the commands list it; before them it is the same
        m_commonDevice = addCameraOption(m_app, m_options.device, "")->group("");
        addDeviceCommands();
        addConvertCommand();
        addCombineCommand();
        addSettingsCommands();
    }

    ParseResult parse(int argc, const char *const *argv)
    {
        try {
            m_app.parse(argc, argv);
        } catch (const CLI::Success &request) {
            m_app.exit(request);
            if (std::cout.flush())
                return {std::nullopt, ExitCode::Success};
            printError("cannot write to standard output");
            return {std::nullopt, ExitCode::Failure};
        } catch (const CLI::ParseError &error) {
            return refuse(error.what(), commandWord(argc, argv));
        }
        if (const std::string command = commandWithoutCamera(); !command.empty())
            return refuse("it takes no camera", command);
        if (!m_resolution.empty())
            m_options.resolution = toResolution(m_resolution);
        m_options.pageSize = toPageSize(m_pageSize).value_or(std::string());
        m_options.color = codeOf(m_color, kColors);
        m_options.rotation = codeOf(m_rotation, kRotations);
        m_options.scanOn = static_cast<ScanOn>(codeOf(m_trigger, kTriggers));
        if (m_options.command == Command::Scan)
            m_options.intervalMs =
                static_cast<int>(std::lround(m_pageInterval * kMillisecondsPerSecond));
        m_options.durationMs = m_seconds * kMillisecondsPerSecond;
        m_options.timeoutMs = m_timeoutSeconds * kMillisecondsPerSecond;
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
            printError("`korvcam " + command + " --help` lists its options");
            return {std::nullopt, ExitCode::Usage};
        }
        std::vector<std::string> names;
        for (const CLI::App *command : m_app.get_subcommands([](const CLI::App *) { return true; }))
            names.push_back(command->get_name());
        const std::string list = CLI::detail::join(names, ", ");
        const std::string meant = nearest(word, names);
        if (word.empty())
            printError("a command is needed: " + list);
        else if (std::find(names.begin(), names.end(), word) != names.end())
            printError(why);
        else
            printError("unknown command '" + word + "'"
                       + (meant.empty() ? "" : "; did you mean '" + meant + "'?")
                       + "\ncommands: " + list);
        printError("`korvcam --help` explains them");
        return {std::nullopt, ExitCode::Usage};
    }

    CLI::App *addCommand(Command command, const char *name, const char *description)
    {
        CLI::App *const sub = m_app.add_subcommand(name, description);
        sub->parse_complete_callback([this, command] { m_options.command = command; });
        return sub;
    }

    /// The command that was given a camera although it takes none; empty: no such mistake.
    std::string commandWithoutCamera() const
    {
        const CLI::App *const command = m_app.get_subcommands().front();
        const bool takesCamera = command->get_option_no_throw("--device") != nullptr;
        return m_commonDevice->count() > 0 && !takesCamera ? command->get_name() : std::string();
    }

    void addResolutionOption(CLI::App *sub)
    {
        sub->add_option("-r,--resolution", m_resolution,
                        "Size, one of `modes` (default: the one in use)")
            ->type_name("WxH")
            ->check(CLI::Validator(checkResolution, ""));
    }

    void addDeviceOption(CLI::App *sub) { addCameraOption(*sub, m_options.device, "the first"); }

    void addQualityOption(CLI::App *sub, int standard = 95)
    {
        sub->add_option("-q,--quality", m_options.quality,
                        "JPEG quality (default: " + std::to_string(standard) + ")")
            ->type_name("1-100")
            ->check(hidden(CLI::Range(1, 100)));
    }

    void addTimeoutOption(CLI::App *sub)
    {
        sub->add_option("--timeout", m_timeoutSeconds, "Seconds to wait for a frame (default: 10)")
            ->type_name("S")
            ->check(hidden(CLI::Range(1, 3600)));
    }

    void addForceFlag(CLI::App *sub)
    {
        sub->add_flag("-f,--force", m_options.force,
                      "Replace an existing file (default: take the next free name)");
    }

    void addCleanFlag(CLI::App *sub)
    {
        sub->add_flag("--clean", m_options.clean,
                      "Even out light and shadow, so that paper is white (default: off)");
    }

    void addCompactFlag(CLI::App *sub)
    {
        sub->add_flag("--compact", m_options.compact,
                      "Make pdf pages of writing a tenth as large, in layers (default: off)");
    }

    static void addChoice(CLI::App *sub, const char *name, std::string &value,
                          const std::vector<std::string> &choices, const std::string &description)
    {
        sub->add_option(name, value, description + " (default: " + choices.front() + ")")
            ->type_name(CLI::detail::join(choices, "|"))
            ->check(hidden(CLI::IsMember(choices)));
    }

    void addDeviceCommands()
    {
        addCommand(Command::List, "list",
                   "List cameras: index, vendor:product, name, node, serial number");
        addDeviceOption(
            addCommand(Command::Modes, "modes",
                       "List the resolutions of a camera: number, size, * for the one in use"));

        CLI::App *const watch = addCommand(Command::Watch, "watch",
                                           "Report cameras as they are plugged in and removed");
        watch->add_option("--seconds", m_seconds, "Stop after S seconds (default: never)")
            ->type_name("S")
            ->check(hidden(CLI::Range(1, 86400)));
        watch
            ->add_option("-n,--count", m_options.maximumEvents,
                         "Stop after N events (default: never)")
            ->type_name("N")
            ->check(hidden(CLI::Range(1, kMaxEvents)));

        CLI::App *const doctor = addCommand(Command::Doctor, "doctor", "Diagnose camera problems");
        addCameraOption(*doctor, m_options.device, "all");
        addTimeoutOption(doctor);

        addSnapCommand();
        addScanCommand();
        addServeCommand();

        CLI::App *const controls =
            addCommand(Command::Controls, "controls", "List or set the controls of a camera");
        addDeviceOption(controls);
        addChangeOption(*controls, m_options.changes);
        controls->add_flag("--save", m_options.save,
                           "Keep what is set, or without -c every value, for this camera model");
        controls->add_flag(
            "--reset", m_options.reset,
            "Forget what was kept for this camera model, and set it to its defaults");
        CLI::App *const focus = addCommand(Command::Focus, "focus", "Focus once");
        addDeviceOption(focus);
        focus->add_flag("--lock", m_options.lock, "Keep the focus from then on");
        addTimeoutOption(focus);
    }

    /// What snap and scan have in common.
    void addPhotographOptions(CLI::App *sub)
    {
        addDeviceOption(sub);
        addQualityOption(sub);
        addResolutionOption(sub);
        addChoice(sub, "--color", m_color, kColors, "Colors of the photographs");
        sub->add_flag_callback(
            "--crop", [this] { m_options.crop = 0; },
            "Find the sheet and cut it out (default: off)");
        addCleanFlag(sub);
        addChoice(sub, "--rotate", m_rotation, kRotations, "Rotate the photographs");
        addTimeoutOption(sub);
        addForceFlag(sub);
    }

    void addServeCommand()
    {
        CLI::App *const serve =
            addCommand(Command::Serve, "serve", "Offer the camera to scan programs (eSCL)");
        addDeviceOption(serve);
        serve
            ->add_option("--listen", m_options.listen,
                         "Address and port to listen on (default: " + m_options.listen + ")")
            ->type_name("ADDRESS:PORT");
        serve
            ->add_option("--name", m_options.scannerName,
                         "Name of the scanner (default: the camera's)")
            ->type_name("NAME");
        CLI::Option *const certificate = serve->add_option(
            "--certificate", m_options.certificate, "TLS certificate, PEM (default: no TLS)");
        CLI::Option *const key =
            serve->add_option("--key", m_options.key, "Key of the certificate, PEM");
        certificate->type_name("FILE")->needs(key);
        key->type_name("FILE")->needs(certificate);
        addQualityOption(serve, 90);
        serve->add_flag_callback(
            "--no-crop", [this] { m_crops = false; },
            "Scan the whole picture (default: find the sheet and cut it out)");
        serve->add_flag_callback(
            "--no-announce", [this] { m_options.announce = false; },
            "Do not announce the scanner (default: announce it by DNS-SD)");
        addTimeoutOption(serve);
        serve->final_callback([this] { m_options.crop = m_crops ? 0 : -1; });
    }

    void addSnapCommand()
    {
        CLI::App *const snap = addCommand(Command::Snap, "snap", "Take photographs");
        addPhotographOptions(snap);
        snap->add_option("-n,--count", m_options.count, "Number of photographs (default: 1)")
            ->type_name("N")
            ->check(hidden(CLI::Range(1, 9999)));
        snap->add_option("--interval", m_options.intervalMs,
                         "Milliseconds between photographs (default: 0)")
            ->type_name("MS")
            ->check(hidden(CLI::Range(0, 3'600'000)));
        snap->add_flag_callback(
            "--no-settle", [this] { m_options.settle = false; },
            "Take the next frame (default: wait until the picture has settled, at most 3 s)");
        snap->add_option("-o,--output", m_options.destination,
                         "JPEG file; with --count, numbered: page-0001.jpg")
            ->type_name("FILE")
            ->required()
            ->check(CLI::Validator(checkPhotographName, ""));
    }

    void addScanCommand()
    {
        CLI::App *const scan =
            addCommand(Command::Scan, "scan",
                       "Take a page each time one is turned, and make a document of them");
        addPhotographOptions(scan);
        scan->add_option("-n,--pages", m_options.pages,
                         "Stop after N pages (default: when stopped)")
            ->type_name("N")
            ->check(hidden(CLI::Range(1, 9999)));
        addChoice(
            scan, "--on", m_trigger, kTriggers,
            "Take a page when one was turned, for each line of input or press of the camera's "
            "button, or at intervals");
        scan->add_option("--interval", m_pageInterval,
                         "Take a page every S seconds; means --on interval (default: 5)")
            ->type_name("S")
            ->check(hidden(CLI::Range(0.1, 86400.0)));
        scan->add_flag("--resume", m_options.resume, "Go on with a scan that was killed");
        scan->add_flag("--quiet", m_options.quiet, "No sound when a page was taken");
        scan->add_flag("--json", m_options.json, "Print one JSON object a line");
        addDocumentOptions(scan);
        scan->add_option("-o,--output", m_options.destination,
                         "pdf, ofd or tiff file; or pictures, with %03d for their number")
            ->type_name("FILE")
            ->required()
            ->check(CLI::Validator(checkScanName, ""));
        scan->final_callback([this, scan] { checkInterval(*scan); });
    }

    void checkInterval(const CLI::App &scan)
    {
        if (scan.count("--interval") == 0)
            return;
        if (scan.count("--on") > 0 && m_trigger != "interval")
            throw CLI::ValidationError("--interval goes with --on interval only");
        m_trigger = "interval";
    }

    /// What is said of a whole document.
    void addDocumentOptions(CLI::App *sub)
    {
        sub->add_option("--title", m_options.title,
                        "Title of the document (default: the file's name)")
            ->type_name("TEXT");
        sub->add_option("--page-size", m_pageSize,
                        "Size of every page; W and H in millimetres (default: by the picture)")
            ->type_name("A3|A4|A5|letter|card|WxH")
            ->check(CLI::Validator(checkPageSize, ""));
        addCompactFlag(sub);
    }

    void addConvertCommand()
    {
        CLI::App *const convert =
            addCommand(Command::Convert, "convert",
                       "Convert a picture; the extension chooses jpg, png, bmp, tiff, pdf or ofd");
        addQualityOption(convert);
        addCleanFlag(convert);
        addCompactFlag(convert);
        addForceFlag(convert);
        convert->add_option("source", m_source, "JPEG, PNG, BMP or TIFF file")->required();
        convert->add_option("destination", m_options.destination, "New file")
            ->required()
            ->check(CLI::Validator(checkPictureName, ""));
        convert->final_callback([this] { m_options.sources = {m_source}; });
    }

    void addCombineCommand()
    {
        CLI::App *const combine = addCommand(Command::Combine, "combine",
                                             "Combine several pictures into one pdf, ofd or tiff");
        addQualityOption(combine);
        addForceFlag(combine);
        combine->add_flag("--strict", m_options.strict,
                          "Write nothing when a page cannot be read (default: write the others)");
        addDocumentOptions(combine);
        combine
            ->add_option("--from-file", m_options.fromFile,
                         "Read more sources from LIST, one a line; - is standard input "
                         "(default: none)")
            ->type_name("LIST");
        combine->add_option("source", m_options.sources, "JPEG, PNG, BMP or TIFF files");
        combine->add_option("-o,--output", m_options.destination, "New file")
            ->type_name("FILE")
            ->required()
            ->check(CLI::Validator(checkDocumentName, ""));
        combine->final_callback([this] {
            if (m_options.sources.empty() && m_options.fromFile.empty())
                throw CLI::ValidationError("a source or --from-file is required");
        });
    }

    void addSettingsCommands()
    {
        addCommand(Command::Config, "config",
                   "Show the settings in force and where they come from");
        CLI::App *const calibrate =
            addCommand(Command::Calibrate, "calibrate",
                       "Measure the desk by an A4 sheet under the camera, for pages of true size");
        addDeviceOption(calibrate);
        addResolutionOption(calibrate);
        calibrate->add_flag("--card", m_options.card,
                            "A bank card or identity card lies there (default: an A4 sheet)");
        addTimeoutOption(calibrate);
    }

    CLI::App m_app;
    Options m_options;
    CLI::Option *m_commonDevice = nullptr;
    std::string m_source;
    std::string m_resolution;
    std::string m_pageSize;
    std::string m_color = kColors.front();
    std::string m_rotation = kRotations.front();
    std::string m_trigger = kTriggers.front();
    double m_pageInterval = kUsualInterval;
    bool m_crops = true;
    int m_seconds = 0;
    int m_timeoutSeconds = 10;
};

} // namespace

ParseResult parseCommandLine(int argc, const char *const *argv)
{
    Parser parser;
    return parser.parse(argc, argv);
}

std::string numberedPath(const std::string &path, int number, int count)
{
    if (count <= 1)
        return path;
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%04d", number);
    const std::filesystem::path whole(path);
    const std::string name = whole.stem().string() + suffix + whole.extension().string();
    return (whole.parent_path() / name).string();
}

} // namespace cli
