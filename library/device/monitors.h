#pragma once

#include "library/device/device_monitor.h"

#include <memory>
#include <vector>

namespace korv {

/// The sources of devices that this process is to use, not started yet. The simulated desk is one
/// of them when the environment variable KORV_CAMERA_DESK asks for it: a folder of cameras, or
/// "builtin".
std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors();

} // namespace korv
