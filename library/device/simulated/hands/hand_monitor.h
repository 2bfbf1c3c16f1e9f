#pragma once

#include "library/device/device_monitor.h"
#include "library/device/simulated/hands/hand_desk_options.h"

namespace korv {

/// One simulated camera over a desk whose pages a hand turns, present from start to end. No thread:
/// the arrival is reported from start(). Each stream begins with the first page.
class HandMonitor : public DeviceMonitor
{
public:
    explicit HandMonitor(const HandDeskOptions &options)
        : m_options(options)
    {
    }

    Result<void> start(DeviceObserver &observer) override;
    Result<std::unique_ptr<CameraDevice>> open(const std::string &key) override;

private:
    const HandDeskOptions m_options;
};

} // namespace korv
