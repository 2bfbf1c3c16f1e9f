#include "library/api/monitors.h"

#include "library/base/log.h"
#include "library/device/simulated/builtin_monitor.h"
#include "library/device/simulated/hands/hand_monitor.h"
#include "library/device/simulated/simulated_monitor.h"
#include "library/device/udev/udev_monitor.h"

#include <cstdlib>
#include <string>

namespace korv {
namespace {

constexpr char kBuiltin[] = "builtin:";

std::string environment(const char *name)
{
    // a secure process must not be led to folders by its environment (secure_getenv(3))
    const char *value = ::secure_getenv(name);
    return value ? value : "";
}

CameraControls controlsIn(const Settings &settings)
{
    CameraControls controls;
    controls.followMains = settings.followMains;
    for (const auto &[model, camera] : settings.cameras)
        controls.saved[model] = camera.controls;
    return controls;
}

/// The desk that follows "builtin:"; none, with a line in the log, when there is no such desk.
std::unique_ptr<DeviceMonitor> builtinMonitor(const std::string &description)
{
    const Result<HandDeskOptions> options = readHandDesk(description);
    if (options)
        return std::make_unique<HandMonitor>(options.value());
    logLine(LogLevel::Warning, "KORV_CAMERA_DESK", options.error().text);
    return nullptr;
}

} // namespace

std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors(const Settings &settings)
{
    std::vector<std::unique_ptr<DeviceMonitor>> monitors;
    const std::string desk = environment("KORV_CAMERA_DESK");
    const std::string real = environment("KORV_CAMERA_REAL");
    if (desk == "builtin")
        monitors.push_back(std::make_unique<BuiltinMonitor>());
    else if (desk.compare(0, sizeof kBuiltin - 1, kBuiltin) == 0) {
        if (auto monitor = builtinMonitor(desk.substr(sizeof kBuiltin - 1)))
            monitors.push_back(std::move(monitor));
    } else if (!desk.empty())
        monitors.push_back(std::make_unique<SimulatedMonitor>(desk));
    if (real == "1" || (desk.empty() && real != "0"))
        monitors.push_back(std::make_unique<UdevMonitor>(systemV4l2Calls(), V4l2Patience(),
                                                         UdevSource::create, controlsIn(settings)));
    return monitors;
}

} // namespace korv
