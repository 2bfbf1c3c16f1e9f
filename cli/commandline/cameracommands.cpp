#include "cli/commandline/commanddescriptions.h"

#include "cli/base/translation.h"
#include "cli/commandline/cameraoptions.h"
#include "cli/commandline/sharedoptions.h"

#include <CLI/CLI.hpp>

namespace cli {
namespace {

constexpr int kMaxEvents = 1'000'000;

void addWatchCommand(CLI::App &program, Options &options)
{
    CLI::App *const watch = addCommand(program, options, Command::Watch, "watch",
                                       tr("Report cameras as they are plugged in and removed"));
    watch
        ->add_option_function<int>(
            "--seconds",
            [&options](int seconds) { options.durationMs = seconds * kMillisecondsPerSecond; },
            tr("Stop after S seconds (default: never)"))
        ->type_name("S")
        ->check(hidden(CLI::Range(1, 86400)));
    watch
        ->add_option("-n,--count", options.maximumEvents,
                     tr("Stop after N events (default: never)"))
        ->type_name("N")
        ->check(hidden(CLI::Range(1, kMaxEvents)));
    addJsonFlag(*watch, options);
}

} // namespace

void addCameraCommands(CLI::App &program, Options &options)
{
    addJsonFlag(*addCommand(program, options, Command::List, "list",
                            tr("List cameras: index, vendor:product, name, node, serial number")),
                options);
    CLI::App *const modes =
        addCommand(program, options, Command::Modes, "modes",
                   tr("List the resolutions of a camera: number, size, * for the one in use"));
    addDeviceOption(*modes, options);
    addJsonFlag(*modes, options);
    addWatchCommand(program, options);
    CLI::App *const doctor =
        addCommand(program, options, Command::Doctor, "doctor", tr("Diagnose camera problems"));
    addCameraOption(*doctor, options.device, tr("all"));
    addTimeoutOption(*doctor, options);
    addProgressFlag(*doctor, options);
    addJsonFlag(*doctor, options);
}

void addControlCommands(CLI::App &program, Options &options)
{
    CLI::App *const controls = addCommand(program, options, Command::Controls, "controls",
                                          tr("List or set the controls of a camera"));
    addDeviceOption(*controls, options);
    addChangeOption(*controls, options.changes);
    controls->add_flag("--save", options.save,
                       tr("Keep what is set, or without -c every value, for this camera model"));
    controls->add_flag(
        "--reset", options.reset,
        tr("Forget what was kept for this camera model, and set it to its defaults"));
    addJsonFlag(*controls, options);
    CLI::App *const focus = addCommand(program, options, Command::Focus, "focus", tr("Focus once"));
    addDeviceOption(*focus, options);
    focus->add_flag("--lock", options.lock, tr("Keep the focus from then on"));
    addTimeoutOption(*focus, options);
    addProgressFlag(*focus, options);
}

} // namespace cli
