#include "library/device/simulated/builtin_monitor.h"

#include "library/device/simulated/builtin_pages.h"
#include "library/device/simulated/simulated_device.h"

#include <cerrno>

namespace korv {
namespace {

constexpr char kKey[] = "builtin";
// 0x1209 is shared by open hardware (pid.codes), whose 0x0001 is meant for tests
constexpr int kVendor = 0x1209;
constexpr int kProduct = 0x0001;

} // namespace

Result<void> BuiltinMonitor::start(DeviceObserver &observer)
{
    observer.onArrival({kKey, "Simulated Desk", kVendor, kProduct, {}, {}, "built-in camera"});
    return {};
}

Result<std::unique_ptr<CameraDevice>> BuiltinMonitor::open(const std::string &key)
{
    if (key != kKey)
        return Error{-ENODEV, "no such built-in camera"};
    auto plug = std::make_shared<Plug>();
    return std::unique_ptr<CameraDevice>(
        std::make_unique<SimulatedDevice>(plug, std::make_unique<BuiltinPages>()));
}

} // namespace korv
