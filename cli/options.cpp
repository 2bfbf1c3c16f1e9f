#include "cli/options.h"

#include "installpaths.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace cli {
namespace {

constexpr char kFooter[] = "Exit status: 0 done, 1 refused by the camera library or the system, "
                           "2 wrong usage,\n"
                           "3 no such camera, 4 no picture from the camera in time, "
                           "5 camera library not loadable.\n"
                           "`korvcam COMMAND --help` explains a command.";

constexpr int kMillisecondsPerSecond = 1000;
constexpr int kHighestIndex = 9999;
constexpr int kMostEvents = 1'000'000;

// a choice's position is the code that the camera library takes
const std::vector<std::string> kColors{"color", "gray", "lineart"};
const std::vector<std::string> kRotations{"none", "left", "right", "180"};

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

std::string checkPhotographName(const std::string &text)
{
    std::string extension = std::filesystem::path(text).extension().string();
    for (char &letter : extension)
        letter = CLI::detail::to_lower(std::string(1, letter))[0];
    if (extension != ".jpg" && extension != ".jpeg")
        return "photographs are JPEG files, name them .jpg: " + text;
    return {};
}

/// Fills an Options from CLI11's callbacks; lives as long as the parse.
class Parser
{
public:
    Parser()
        : m_app("Works with document cameras from the command line.", "korvcam")
    {
        m_options.library = installpaths::kCameraLibrary;
        m_app.footer(kFooter);
        m_app.set_version_flag("--version", "korvcam " KORV_VERSION);
        m_app.require_subcommand(1);
        m_app.fallthrough();
        m_app.add_option("--library", m_options.library, "Camera library to load")
            ->type_name("PATH")
            ->capture_default_str();
        m_app.add_option("--desk", m_options.desk, "Simulated desk: a folder, or 'builtin'")
            ->type_name("DIR|builtin");
        m_app.add_flag("-v,--verbose", m_options.verbose, "Trace of the library binding");
        addDeviceCommands();
        addFileCommands();
    }

    ParseResult parse(int argc, const char *const *argv)
    {
        try {
            m_app.parse(argc, argv);
        } catch (const CLI::Success &request) {
            m_app.exit(request);
            return {std::nullopt, ExitCode::Success};
        } catch (const CLI::ParseError &error) {
            m_app.exit(error);
            return {std::nullopt, ExitCode::Usage};
        }
        if (!m_resolution.empty())
            m_options.resolution = toResolution(m_resolution);
        m_options.color = codeOf(m_color, kColors);
        m_options.rotation = codeOf(m_rotation, kRotations);
        m_options.durationMs = m_seconds * kMillisecondsPerSecond;
        m_options.timeoutMs = m_timeoutSeconds * kMillisecondsPerSecond;
        return {m_options, ExitCode::Success};
    }

private:
    CLI::App *addCommand(Command command, const char *name, const char *description)
    {
        CLI::App *const sub = m_app.add_subcommand(name, description);
        sub->parse_complete_callback([this, command] { m_options.command = command; });
        return sub;
    }

    void addDeviceOption(CLI::App *sub)
    {
        sub->add_option("-d,--device", m_options.device, "Index of the camera (default: the first)")
            ->type_name("INDEX")
            ->check(hidden(CLI::Range(0, kHighestIndex)));
    }

    void addQualityOption(CLI::App *sub)
    {
        sub->add_option("-q,--quality", m_options.quality, "JPEG quality (default: the library's)")
            ->type_name("1-100")
            ->check(hidden(CLI::Range(1, 100)));
    }

    void addTimeoutOption(CLI::App *sub)
    {
        sub->add_option("--timeout", m_timeoutSeconds, "Seconds to wait for a picture")
            ->type_name("S")
            ->check(hidden(CLI::Range(1, 3600)))
            ->capture_default_str();
    }

    static void addChoice(CLI::App *sub, const char *name, std::string &value,
                          const std::vector<std::string> &choices, const char *description)
    {
        sub->add_option(name, value, description)
            ->type_name(CLI::detail::join(choices, "|"))
            ->check(hidden(CLI::IsMember(choices)))
            ->capture_default_str();
    }

    void addDeviceCommands()
    {
        addCommand(Command::List, "list", "Cameras present: index, vendor:product, name");
        addDeviceOption(addCommand(Command::Modes, "modes",
                                   "Resolutions of a camera: number, size, * for the one in use"));

        CLI::App *const watch =
            addCommand(Command::Watch, "watch", "Prints cameras as they come and go");
        watch->add_option("--seconds", m_seconds, "End after that time")
            ->type_name("S")
            ->check(hidden(CLI::Range(1, 86400)));
        watch->add_option("-n,--count", m_options.maximumEvents, "End after that many events")
            ->type_name("N")
            ->check(hidden(CLI::Range(1, kMostEvents)));

        CLI::App *const doctor = addCommand(Command::Doctor, "doctor",
                                            "Says in plain words what is wrong with the cameras");
        addDeviceOption(doctor);
        addTimeoutOption(doctor);

        addSnapCommand();
    }

    void addSnapCommand()
    {
        CLI::App *const snap = addCommand(Command::Snap, "snap", "Takes photographs");
        addDeviceOption(snap);
        addQualityOption(snap);
        snap->add_option("-r,--resolution", m_resolution, "Size, one of `modes`")
            ->type_name("WxH")
            ->check(CLI::Validator(checkResolution, ""));
        addChoice(snap, "--color", m_color, kColors, "Colour of the photographs");
        snap->add_flag_callback(
            "--crop", [this] { m_options.crop = 0; }, "Finds the sheet and cuts it out");
        addChoice(snap, "--rotate", m_rotation, kRotations, "Turns the photographs");
        snap->add_option("-n,--count", m_options.count, "Number of photographs")
            ->type_name("N")
            ->check(hidden(CLI::Range(1, 9999)));
        snap->add_option("--interval", m_options.intervalMs, "Milliseconds between photographs")
            ->type_name("MS")
            ->check(hidden(CLI::Range(0, 3'600'000)));
        addTimeoutOption(snap);
        snap->add_option("-o,--output", m_options.destination,
                         "JPEG file; with --count, numbered: page-0001.jpg")
            ->type_name("FILE")
            ->required()
            ->check(CLI::Validator(checkPhotographName, ""));
    }

    void addFileCommands()
    {
        CLI::App *const convert =
            addCommand(Command::Convert, "convert",
                       "Converts a picture; the extension chooses jpg, png, bmp, tiff, pdf or ofd");
        addQualityOption(convert);
        convert->add_option("source", m_source, "JPEG, PNG, BMP or TIFF file")->required();
        convert->add_option("destination", m_options.destination, "New file")->required();
        convert->final_callback([this] { m_options.sources = {m_source}; });

        CLI::App *const combine = addCommand(Command::Combine, "combine",
                                             "Makes one pdf, ofd or tiff of several pictures");
        addQualityOption(combine);
        combine->add_option("source", m_options.sources, "JPEG, PNG, BMP or TIFF files")
            ->required();
        combine->add_option("-o,--output", m_options.destination, "New file")->required();
    }

    CLI::App m_app;
    Options m_options;
    std::string m_source;
    std::string m_resolution;
    std::string m_color = kColors.front();
    std::string m_rotation = kRotations.front();
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
