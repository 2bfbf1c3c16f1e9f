#include "library/api/monitors.h"

#include "library/device/simulated/builtin_monitor.h"
#include "library/device/simulated/simulated_monitor.h"
#include "library/device/udev/udev_monitor.h"

#include <cstdlib>
#include <string>

namespace korv {
namespace {

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

} // namespace

std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors(const Settings &settings)
{
    std::vector<std::unique_ptr<DeviceMonitor>> monitors;
    const std::string desk = environment("KORV_CAMERA_DESK");
    const std::string real = environment("KORV_CAMERA_REAL");
    if (desk == "builtin")
        monitors.push_back(std::make_unique<BuiltinMonitor>());
    else if (!desk.empty())
        monitors.push_back(std::make_unique<SimulatedMonitor>(desk));
    if (real == "1" || (desk.empty() && real != "0"))
        monitors.push_back(std::make_unique<UdevMonitor>(systemV4l2Calls(), V4l2Patience(),
                                                         UdevSource::create, controlsIn(settings)));
    return monitors;
}

} // namespace korv
