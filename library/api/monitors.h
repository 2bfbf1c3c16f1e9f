#pragma once

#include "library/device/device_monitor.h"
#include "library/settings/settings.h"

#include <memory>
#include <vector>

namespace korv {

/// The sources of devices that this process is to use, not started yet. Two environment variables
/// choose (a secure process ignores both):
///   KORV_CAMERA_DESK   the simulated desk: a folder of cameras, or "builtin"
///   KORV_CAMERA_REAL   "1": the cameras of this machine, "0": not these
/// Without the second, the cameras of the machine are used when there is no simulated desk. What the
/// settings say of their controls is set when they appear.
std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors(const Settings &settings);

} // namespace korv
