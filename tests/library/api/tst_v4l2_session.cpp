#include "library/api/session.h"

#include "tests/library/fakes/v4l2_fixture.h"

#include <cerrno>
#include <map>

using namespace korv;
using testing_support::becomesTrue;
using testing_support::FakeV4l2;
using testing_support::jpegOf;
using testing_support::plainImage;
using testing_support::secondsOf;

namespace {

/// Cameras behind drivers of their own, there from start to end.
class Cameras
{
public:
    explicit Cameras(int count)
    {
        for (int each = 0; each < count; ++each) {
            auto driver = std::make_shared<FakeV4l2>();
            driver->formats = {{V4L2_PIX_FMT_MJPEG, {{320, 240}}, {}}};
            driver->otherwise(jpegOf(plainImage(320, 240, {200, 60, 30})));
            m_drivers["camera " + std::to_string(each)] = driver;
        }
    }

    /// A monitor that opens them as the real one does.
    class Monitor : public DeviceMonitor
    {
    public:
        explicit Monitor(const Cameras &cameras)
            : m_cameras(cameras)
        {
        }
        Result<void> start(DeviceObserver &observer) override
        {
            for (const auto &[key, driver] : m_cameras.m_drivers)
                observer.onArrival({key, "Twin", 1, 2});
            return {};
        }
        Result<std::unique_ptr<CameraDevice>> open(const std::string &key) override
        {
            return V4l2Device::open({m_cameras.m_drivers.at(key), "/dev/video0",
                                     std::make_shared<NodeLease>(), [](V4l2Exit) {}},
                                    {});
        }

    private:
        const Cameras &m_cameras;
    };

    std::unique_ptr<Session> session() const
    {
        Session::Monitors monitors;
        monitors.push_back(std::make_unique<Monitor>(*this));
        auto session = std::make_unique<Session>(std::move(monitors));
        EXPECT_TRUE(session->start());
        return session;
    }

    template <typename Work> void eachDriver(Work work) const
    {
        for (const auto &[key, driver] : m_drivers)
            work(*driver);
    }

private:
    std::map<std::string, std::shared_ptr<FakeV4l2>> m_drivers;
};

int ignoreFrame(void *, int, int, int)
{
    return 0;
}

} // namespace

TEST(V4l2Session, shutDownTakesNoLongerForThreeSilentCamerasThanForOne)
{
    const Cameras cameras(3);
    const auto session = cameras.session();
    for (int index = 0; index < 3; ++index) {
        ASSERT_TRUE(session->open(index));
        ASSERT_TRUE(session->startCapture(index, ignoreFrame));
    }
    cameras.eachDriver([](FakeV4l2 &driver) { driver.block(VIDIOC_STREAMOFF); });
    EXPECT_LT(secondsOf([&] { session->shutDown(); }), 1.0);
    cameras.eachDriver([](FakeV4l2 &driver) {
        EXPECT_TRUE(driver.isBlocking());
        driver.release();
        EXPECT_TRUE(becomesTrue([&] { return driver.openDescriptors() == 0; }));
        EXPECT_EQ(driver.mappings(), 0);
    });
}

TEST(V4l2Session, camerasStreamSideBySide)
{
    const Cameras cameras(2);
    const auto session = cameras.session();
    for (int index = 0; index < 2; ++index) {
        ASSERT_TRUE(session->open(index));
        EXPECT_EQ(session->open(index).code(), -EBUSY);
        ASSERT_TRUE(session->startCapture(index, ignoreFrame));
    }
    cameras.eachDriver([](FakeV4l2 &driver) {
        EXPECT_TRUE(becomesTrue([&] { return driver.count(VIDIOC_DQBUF) > 10; }));
    });
    EXPECT_LT(secondsOf([&] { session->shutDown(); }), 1.0);
    cameras.eachDriver([](FakeV4l2 &driver) { EXPECT_EQ(driver.openDescriptors(), 0); });
}
