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

} // namespace

std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors()
{
    std::vector<std::unique_ptr<DeviceMonitor>> monitors;
    const std::string desk = environment("KORV_CAMERA_DESK");
    const std::string real = environment("KORV_CAMERA_REAL");
    if (desk == "builtin")
        monitors.push_back(std::make_unique<BuiltinMonitor>());
    else if (!desk.empty())
        monitors.push_back(std::make_unique<SimulatedMonitor>(desk));
    if (real == "1" || (desk.empty() && real != "0"))
        monitors.push_back(std::make_unique<UdevMonitor>());
    return monitors;
}

} // namespace korv
