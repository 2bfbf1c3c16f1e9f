// The library in front of a camera whose driver answers the end of a stream after two seconds, in
// place of the cameras of the machine.
#include "library/api/monitors.h"
#include "library/device/v4l2/v4l2_device.h"
#include "tests/library/fakes/fake_v4l2.h"
#include "tests/library/support/pictures.h"

#include <thread>

namespace {

class StuckCalls : public testing_support::FakeV4l2
{
public:
    StuckCalls()
    {
        formats = {{V4L2_PIX_FMT_MJPEG, {{320, 240}}, {}}};
        otherwise(testing_support::jpegOf(testing_support::plainImage(320, 240, {9, 99, 200})));
    }
    int control(int descriptor, unsigned long request, void *argument) override
    {
        if (request == VIDIOC_STREAMOFF)
            std::this_thread::sleep_for(std::chrono::seconds(2));
        return FakeV4l2::control(descriptor, request, argument);
    }
};

class StuckMonitor : public korv::DeviceMonitor
{
public:
    korv::Result<void> start(korv::DeviceObserver &observer) override
    {
        observer.onArrival({"stuck", "Stuck Camera", 1, 2});
        return {};
    }
    korv::Result<std::unique_ptr<korv::CameraDevice>> open(const std::string &) override
    {
        return korv::V4l2Device::open({std::make_shared<StuckCalls>(), "/dev/video0",
                                       std::make_shared<korv::NodeLease>(), [](korv::V4l2Exit) {}},
                                      {});
    }
};

} // namespace

namespace korv {

std::vector<std::unique_ptr<DeviceMonitor>> availableMonitors(const Settings &)
{
    std::vector<std::unique_ptr<DeviceMonitor>> monitors;
    monitors.push_back(std::make_unique<StuckMonitor>());
    return monitors;
}

} // namespace korv
