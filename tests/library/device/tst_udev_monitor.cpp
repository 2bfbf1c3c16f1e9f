#include "library/device/udev/udev_monitor.h"

#include "library/base/event_fd.h"
#include "tests/library/fakes/v4l2_fixture.h"
#include "tests/library/support/shortage.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace korv;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::V4l2Fixture;

namespace {

/// What a made-up system says of its nodes.
struct FakeSystem
{
    std::mutex mutex;
    std::vector<int> makeErrors; ///< of the attempts to listen, first to last; then it works
    std::vector<int> listErrors;
    std::vector<VideoNode> nodes;
    bool lostEvents = false;
    EventFd news = EventFd::create().value();

    int nextOf(std::vector<int> &errors)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const int error = errors.empty() ? 0 : errors.front();
        if (!errors.empty())
            errors.erase(errors.begin());
        return error;
    }
};

class FakeSource : public NodeSource
{
public:
    explicit FakeSource(FakeSystem &system)
        : m_system(system)
    {
    }
    int descriptor() const override { return m_system.news.fd(); }
    Result<std::vector<VideoNode>> list() override
    {
        if (const int error = m_system.nextOf(m_system.listErrors); error != 0)
            return Error{error, "the list is short of something"};
        const std::lock_guard<std::mutex> lock(m_system.mutex);
        return m_system.nodes;
    }
    std::optional<VideoEvent> next() override
    {
        m_system.news.clear();
        return std::nullopt;
    }
    bool lostEvents() override
    {
        const std::lock_guard<std::mutex> lock(m_system.mutex);
        return std::exchange(m_system.lostEvents, false);
    }

private:
    FakeSystem &m_system;
};

class UdevMonitorTest : public V4l2Fixture, public DeviceObserver
{
protected:
    void onArrival(const DeviceIdentity &device) override { note("+" + device.name); }
    void onDeparture(const std::string &) override { note("-"); }

    std::vector<std::string> heard()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_heard;
    }
    bool hears(const std::vector<std::string> &expected)
    {
        return testing_support::becomesTrue([&] { return heard() == expected; });
    }

    static VideoNode node()
    {
        VideoNode made;
        made.path = "/sys/video0";
        made.node = "/dev/video0";
        made.product = "Cam";
        return made;
    }

    Result<std::unique_ptr<NodeSource>> makeSource()
    {
        if (const int error = m_system.nextOf(m_system.makeErrors))
            return Error{error, "listening is short of something"};
        return std::unique_ptr<NodeSource>(std::make_unique<FakeSource>(m_system));
    }

    FakeSystem m_system;
    UdevMonitor m_monitor{m_calls, m_patience, [this] { return makeSource(); }};

private:
    void note(std::string text)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_heard.push_back(std::move(text));
    }

    std::mutex m_mutex;
    std::vector<std::string> m_heard;
};

} // namespace

TEST_F(UdevMonitorTest, savedControlsAreSetBeforeTheCameraArrives)
{
    m_calls->controls = testing_support::FakeControls::camera();
    VideoNode camera = node();
    camera.vid = 0x1b17;
    camera.pid = 0x0211;
    m_system.nodes = {camera};
    CameraControls controls = CameraControls::leftAlone();
    controls.saved[{0x1b17, 0x0211}] = {{"brightness", "5"}};
    controls.saved[{0x1b17, 0x0212}] = {{"white_balance_automatic", "0"}};
    UdevMonitor monitor(
        m_calls, m_patience, [this] { return makeSource(); }, controls);
    ASSERT_TRUE(monitor.start(*this));
    ASSERT_TRUE(hears({"+Cam"}));
    EXPECT_THAT(m_calls->controlsSet(), ElementsAre("Brightness=5"));
}

TEST_F(UdevMonitorTest, powerLineFrequencyFollowsTheMainsOnlyWhenAskedTo)
{
    m_calls->controls = testing_support::FakeControls::camera();
    m_calls->controls.controls[V4L2_CID_POWER_LINE_FREQUENCY].menu[3] = "Auto";
    m_calls->controls.controls[V4L2_CID_POWER_LINE_FREQUENCY].maximum = 3;
    m_system.nodes = {node()};
    {
        UdevMonitor monitor(m_calls, m_patience, [this] { return makeSource(); });
        ASSERT_TRUE(monitor.start(*this));
        ASSERT_TRUE(hears({"+Cam"}));
        EXPECT_THAT(m_calls->controlsSet(), IsEmpty());
    }
    CameraControls controls;
    controls.saved[{0, 0}] = {{"power_line_frequency", "0"}};
    {
        UdevMonitor monitor(
            m_calls, m_patience, [this] { return makeSource(); }, controls);
        ASSERT_TRUE(monitor.start(*this));
        ASSERT_TRUE(hears({"+Cam", "+Cam"}));
        EXPECT_THAT(m_calls->controlsSet(), IsEmpty()); // 0 is what was saved
    }
    controls.saved.clear();
    UdevMonitor monitor(
        m_calls, m_patience, [this] { return makeSource(); }, controls);
    ASSERT_TRUE(monitor.start(*this));
    ASSERT_TRUE(hears({"+Cam", "+Cam", "+Cam"}));
    EXPECT_THAT(m_calls->controlsSet(), ElementsAre("Power Line Frequency=3"));
}

TEST_F(UdevMonitorTest, camerasPresentArriveBeforeStartReturns)
{
    m_system.nodes = {node()};
    ASSERT_TRUE(m_monitor.start(*this));
    EXPECT_THAT(heard(), ElementsAre("+Cam"));
}

TEST_F(UdevMonitorTest, shortageDelaysTheCamerasAndIsLoggedOnce)
{
    m_system.nodes = {node()};
    m_system.makeErrors = {-EMFILE, -EMFILE};
    m_system.listErrors = {-ENFILE};
    testing::internal::CaptureStderr();
    ASSERT_TRUE(m_monitor.start(*this));
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_TRUE(hears({"+Cam"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korvcamera: warning: cannot look for cameras, trying again: listening is short of "
              "something\n"
              "korvcamera: info: looking for cameras again\n");
}

TEST_F(UdevMonitorTest, lostEventsAreMadeUpForInSpiteOfAShortage)
{
    ASSERT_TRUE(m_monitor.start(*this));
    testing::internal::CaptureStderr();
    {
        const std::lock_guard<std::mutex> lock(m_system.mutex);
        m_system.nodes = {node()};
        m_system.listErrors = {-ENOMEM};
        m_system.lostEvents = true;
    }
    m_system.news.set();
    EXPECT_TRUE(hears({"+Cam"}));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("the list is short"));
}

TEST_F(UdevMonitorTest, endDoesNotWaitForAnotherAttempt)
{
    m_system.makeErrors.assign(100, -EMFILE);
    testing::internal::CaptureStderr();
    EXPECT_LT(
        testing_support::secondsOf([&] {
            UdevMonitor monitor(m_calls, m_patience, [] { return Error{-EMFILE, "too many"}; });
            ASSERT_TRUE(monitor.start(*this));
        }),
        1.0);
    testing::internal::GetCapturedStderr();
}

TEST_F(UdevMonitorTest, realSourceSaysThatDescriptorsAreShort)
{
    const testing_support::DescriptorShortage shortage(0);
    EXPECT_EQ(UdevSource::create().code(), -EMFILE);
}

TEST_F(UdevMonitorTest, realListSaysThatDescriptorsAreShort)
{
    const auto source = UdevSource::create();
    ASSERT_TRUE(source);
    const testing_support::DescriptorShortage shortage(0);
    EXPECT_EQ(source.value()->list().code(), -EMFILE);
}
