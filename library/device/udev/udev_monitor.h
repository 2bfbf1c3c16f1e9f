#pragma once

#include "library/controls/saved_controls.h"
#include "library/device/device_monitor.h"
#include "library/device/udev/udev_source.h"
#include "library/device/v4l2/v4l2_calls.h"
#include "library/device/v4l2/v4l2_device.h"

#include <memory>
#include <thread>

namespace korv {

/// The cameras of this machine: V4L2 nodes, found and lost by udev(7). Where no udevd runs, by the
/// kernel's own events. The controls of a camera are set before it arrives.
///
/// It has one thread. When a camera does not answer as the monitor ends, the thread is detached and
/// ends when the driver returns.
class UdevMonitor : public DeviceMonitor
{
public:
    explicit UdevMonitor(std::shared_ptr<V4l2Calls> calls = systemV4l2Calls(),
                         V4l2Patience patience = {},
                         NodeSourceMaker makeSource = UdevSource::create,
                         CameraControls controls = CameraControls::leftAlone());
    ~UdevMonitor() override;

    /// Success also where nothing can be watched: there are no cameras then, or those of now only,
    /// and the log says so. Where descriptors or memory are short for it, that is tried again every
    /// second. -EMFILE, -ENOMEM.
    Result<void> start(DeviceObserver &observer) override;
    Result<std::unique_ptr<CameraDevice>> open(const std::string &key) override;

private:
    class Watch;

    const std::shared_ptr<V4l2Calls> m_calls;
    const V4l2Patience m_patience;
    const NodeSourceMaker m_makeSource;
    const CameraControls m_controls;
    std::shared_ptr<Watch> m_watch; ///< null before start(); the thread has it too
    std::thread m_thread;
};

} // namespace korv
