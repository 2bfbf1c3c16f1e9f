#include "library/device/monitors.h"

#include "library/device/builtin_monitor.h"
#include "library/device/simulated_monitor.h"

#include <cstdlib>
#include <string>

namespace korv {

std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors()
{
    std::vector<std::unique_ptr<DeviceMonitor>> monitors;
    // a secure process must not be led to folders by its environment (secure_getenv(3))
    const char *desk = ::secure_getenv("KORV_CAMERA_DESK");
    if (!desk || *desk == '\0')
        return monitors;
    if (std::string(desk) == "builtin")
        monitors.push_back(std::make_unique<BuiltinMonitor>());
    else
        monitors.push_back(std::make_unique<SimulatedMonitor>(desk));
    return monitors;
}

} // namespace korv
