#pragma once

#include "library/device/device_monitor.h"

namespace korv {

/// One simulated camera with pages of its own, present from start to end. No thread: the arrival is
/// reported from start().
class BuiltinMonitor : public DeviceMonitor
{
public:
    Result<void> start(DeviceObserver &observer) override;
    Result<std::unique_ptr<CameraDevice>> open(const std::string &key) override;
};

} // namespace korv
