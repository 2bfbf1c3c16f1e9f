#include "cli/commandline/commanddescriptions.h"

#include "cli/base/translation.h"
#include "cli/commandline/namechecks.h"
#include "cli/commandline/sharedoptions.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace cli {
namespace {

constexpr int kUsualInterval = 5 * kMillisecondsPerSecond; ///< between scanned pages

// a choice's position is the code that the camera library takes
const std::vector<std::string> kColors{"color", "gray", "lineart"};
const std::vector<std::string> kRotations{"none", "left", "right", "180"};

// a choice's position is that of ScanOn
const std::vector<std::string> kTriggers{"turn", "key", "button", "interval"};

/// What snap and scan have in common.
void addPhotographOptions(CLI::App &command, Options &options)
{
    addDeviceOption(command, options);
    addQualityOption(command, options);
    addResolutionOption(command, options);
    addChoice(command, "--color", kColors, tr("Colors of the photographs"),
              [&options](int code) { options.color = code; });
    command.add_flag_callback(
        "--crop", [&options] { options.crop = 0; },
        tr("Find the sheet and cut it out (default: off)"));
    addCleanFlag(command, options);
    addChoice(command, "--rotate", kRotations, tr("Rotate the photographs"),
              [&options](int code) { options.rotation = code; });
    addTimeoutOption(command, options);
    addForceFlag(command, options);
    addProgressFlag(command, options);
}

void concludeSnap(Options &options)
{
    if (options.writesToOutput() && options.count > 1)
        throw CLI::ValidationError(tr("-o - takes one photograph, without --count"));
    if (options.writesToOutput() && options.json)
        throw CLI::ValidationError(
            tr("--json does not go with -o -: both are for standard output"));
    concludeOutput(options, kPictureFormats.front());
}

void addSnapCommand(CLI::App &program, Options &options)
{
    CLI::App *const snap =
        addCommand(program, options, Command::Snap, "snap", tr("Take photographs"));
    addPhotographOptions(*snap, options);
    snap->add_option("-n,--count", options.count, tr("Number of photographs (default: 1)"))
        ->type_name("N")
        ->check(hidden(CLI::Range(1, 9999)));
    snap->add_option("--interval", options.intervalMs,
                     tr("Milliseconds between photographs (default: 0)"))
        ->type_name("MS")
        ->check(hidden(CLI::Range(0, 3'600'000)));
    snap->add_flag_callback(
        "--no-settle", [&options] { options.settle = false; },
        tr("Take the next frame (default: wait until the picture has settled, at most 3 s)"));
    addJsonFlag(*snap, options);
    addFormatOption(*snap, options, kPictureFormats);
    addOutputOption(
        *snap, options,
        tr("jpg, png, bmp, tiff, pdf or ofd file; with --count, numbered: page-0001.jpg; - "
           "is standard output"),
        checkPictureName);
    snap->final_callback([&options] { concludeSnap(options); });
}

/// --interval means --on interval.
void concludeInterval(const CLI::App &scan, Options &options)
{
    if (scan.count("--interval") == 0) {
        options.intervalMs = kUsualInterval;
        return;
    }
    if (scan.count("--on") > 0 && options.scanOn != ScanOn::Interval)
        throw CLI::ValidationError(tr("--interval goes with --on interval only"));
    options.scanOn = ScanOn::Interval;
}

void addScanTriggers(CLI::App &scan, Options &options)
{
    addChoice(scan, "--on", kTriggers,
              tr("Take a page when one was turned, for each line of input or press of the camera's "
                 "button, or at intervals"),
              [&options](int code) { options.scanOn = static_cast<ScanOn>(code); });
    scan.add_option_function<double>(
            "--interval",
            [&options](double seconds) {
                options.intervalMs =
                    static_cast<int>(std::lround(seconds * kMillisecondsPerSecond));
            },
            tr("Take a page every S seconds; means --on interval (default: 5)"))
        ->type_name("S")
        ->check(hidden(CLI::Range(0.1, 86400.0)));
    scan.final_callback([&scan, &options] { concludeInterval(scan, options); });
}

void addScanCommand(CLI::App &program, Options &options)
{
    CLI::App *const scan =
        addCommand(program, options, Command::Scan, "scan",
                   tr("Take a page each time one is turned, and make a document of them"));
    addPhotographOptions(*scan, options);
    scan->add_option("-n,--pages", options.pages, tr("Stop after N pages (default: when stopped)"))
        ->type_name("N")
        ->check(hidden(CLI::Range(1, 9999)));
    addScanTriggers(*scan, options);
    scan->add_flag("--resume", options.resume, tr("Go on with a scan that was killed"));
    scan->add_flag("--quiet", options.quiet, tr("No sound when a page was taken"));
    addJsonFlag(*scan, options);
    addDocumentOptions(*scan, options);
    addOutputOption(*scan, options,
                    tr("pdf, ofd or tiff file; or pictures, with %03d for their number"),
                    checkScanName);
}

} // namespace

void addPhotographCommands(CLI::App &program, Options &options)
{
    addSnapCommand(program, options);
    addScanCommand(program, options);
}

void addSettingsCommands(CLI::App &program, Options &options)
{
    addCommand(program, options, Command::Config, "config",
               tr("Show the settings in force and where they come from"));
    CLI::App *const calibrate =
        addCommand(program, options, Command::Calibrate, "calibrate",
                   tr("Measure the desk by an A4 sheet under the camera, for pages of true size"));
    addDeviceOption(*calibrate, options);
    addResolutionOption(*calibrate, options);
    calibrate->add_flag("--card", options.card,
                        tr("A bank card or identity card lies there (default: an A4 sheet)"));
    addTimeoutOption(*calibrate, options);
    addProgressFlag(*calibrate, options);
}

} // namespace cli
