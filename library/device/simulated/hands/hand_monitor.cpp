#include "library/device/simulated/hands/hand_monitor.h"

#include "library/device/simulated/hands/hand_frames.h"
#include "library/device/simulated/simulated_device.h"

#include <cerrno>

namespace korv {
namespace {

constexpr char kKey[] = "hands";
// 0x1209 is shared by open hardware (pid.codes), whose 0x0002 is meant for tests
constexpr int kVendor = 0x1209;
constexpr int kProduct = 0x0002;

} // namespace

Result<void> HandMonitor::start(DeviceObserver &observer)
{
    observer.onArrival(
        {kKey, "Simulated Desk with Hands", kVendor, kProduct, {}, {}, HandFrames::kLabel});
    return {};
}

Result<std::unique_ptr<CameraDevice>> HandMonitor::open(const std::string &key)
{
    if (key != kKey)
        return Error{-ENODEV, "no such built-in camera"};
    const auto scene = [options = m_options](int width, int height) {
        return std::make_unique<HandFrames>(options, width, height);
    };
    return std::unique_ptr<CameraDevice>(
        std::make_unique<SimulatedDevice>(std::make_shared<Plug>(), scene));
}

} // namespace korv
