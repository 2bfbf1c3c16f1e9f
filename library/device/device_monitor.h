#pragma once

#include "library/base/result.h"
#include "library/device/camera_device.h"

#include <memory>
#include <string>

namespace korv {

/// Receives arrivals and departures on the monitor's thread. Each identity's key arrives once
/// before it departs.
class DeviceObserver
{
public:
    virtual ~DeviceObserver() = default;
    virtual void onArrival(const DeviceIdentity &device) = 0;
    virtual void onDeparture(const std::string &key) = 0;
};

/// A source of devices: real cameras, or a simulated desk. Destruction ends its thread; no observer
/// call runs after that.
class DeviceMonitor
{
public:
    virtual ~DeviceMonitor() = default;

    /// Starts watching. Devices already present are reported first, before start() returns or soon
    /// after. `observer` is borrowed until destruction.
    virtual Result<void> start(DeviceObserver &observer) = 0;

    /// Opens the device that arrived under `key`. -ENODEV gone, -EBUSY, -EACCES. Any thread.
    virtual Result<std::unique_ptr<CameraDevice>> open(const std::string &key) = 0;
};

} // namespace korv
