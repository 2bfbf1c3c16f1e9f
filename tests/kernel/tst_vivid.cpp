#include "library/api/session.h"
#include "library/device/udev/udev_monitor.h"
#include "library/jpeg/jpeg.h"
#include "tests/kernel/vivid.h"
#include "tests/library/support/wait.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>

using kernel_tests::OtherProgram;
using kernel_tests::Vivid;
using korv::CaptureMode;
using korv::Session;
using testing::ElementsAre;
using testing_support::becomesTrue;

namespace {

/// Emulated, everything takes its time.
constexpr double kCloseLimit = 1.0;

/// What the plain C callbacks write to.
struct Heard
{
    std::mutex mutex;
    std::vector<std::string> events; ///< "add 0", "remove 0"
    korv::Bytes frame;
    std::atomic<int> frames{0};
    std::atomic<int> width{0};
    std::atomic<int> height{0};
};
Heard *heard = nullptr;

void hear(char *json)
{
    const std::string text(json);
    std::free(json);
    const bool isAdd = text.find("\"add\"") != std::string::npos;
    const std::size_t index = text.find("\"index\":") + 8;
    const std::lock_guard<std::mutex> lock(heard->mutex);
    heard->events.push_back((isAdd ? "add " : "remove ") + text.substr(index, 1));
}

int take(void *data, int size, int width, int height)
{
    const std::lock_guard<std::mutex> lock(heard->mutex);
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    heard->frame.assign(bytes, bytes + size);
    heard->width = width;
    heard->height = height;
    ++heard->frames;
    return 0;
}

/// The library over the kernel, without its C boundary.
class KernelVideo : public testing::Test
{
protected:
    void SetUp() override
    {
        heard = &m_heard;
        Session::Monitors monitors;
        monitors.push_back(std::make_unique<korv::UdevMonitor>());
        m_session = std::make_unique<Session>(std::move(monitors));
        ASSERT_TRUE(m_session->start());
        m_session->setReceiver(hear);
    }
    void TearDown() override
    {
        m_session.reset();
        heard = nullptr;
        EXPECT_TRUE(Vivid::unload());
    }

    bool hears(const std::vector<std::string> &expected)
    {
        return becomesTrue([&] {
            const std::lock_guard<std::mutex> lock(m_heard.mutex);
            return m_heard.events == expected;
        });
    }
    std::vector<std::string> events()
    {
        const std::lock_guard<std::mutex> lock(m_heard.mutex);
        return m_heard.events;
    }

    bool getsFrames(int more = 2)
    {
        const int wanted = m_heard.frames + more;
        return becomesTrue([&] { return m_heard.frames >= wanted; });
    }

    void expectFrameIsAPicture()
    {
        korv::Bytes frame;
        {
            const std::lock_guard<std::mutex> lock(m_heard.mutex);
            frame = m_heard.frame;
        }
        const auto picture = korv::jpeg::decode(frame);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture.value().width(), m_heard.width);
        EXPECT_EQ(picture.value().height(), m_heard.height);
    }

    /// The sizes that an emulated machine can fill in a reasonable time.
    std::vector<CaptureMode> quickModes(int index)
    {
        std::vector<CaptureMode> quick;
        const auto all = m_session->modes(index);
        EXPECT_TRUE(all);
        for (const CaptureMode &mode : all ? all.value() : std::vector<CaptureMode>()) {
            if (mode.width <= 1280)
                quick.push_back(mode);
        }
        return quick;
    }

    void startQuickly(int index)
    {
        ASSERT_TRUE(m_session->open(index));
        ASSERT_TRUE(m_session->selectMode(index, quickModes(index).back().number));
        ASSERT_TRUE(m_session->startCapture(index, take));
    }

    double secondsToClose(int index)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(m_session->close(index));
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    static long openDescriptors()
    {
        const std::filesystem::directory_iterator entries("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    }

    Heard m_heard;
    std::unique_ptr<Session> m_session;
};

using KernelPlug = KernelVideo;
using KernelStream = KernelVideo;

} // namespace

// ---- coming and going ----

TEST_F(KernelPlug, cameraThatIsNoUsbDeviceArrivesWithoutIds)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    const auto devices = m_session->presentDevices();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].identity.name, "vivid");
    EXPECT_EQ(devices[0].identity.vid, 0);
    EXPECT_EQ(devices[0].identity.pid, 0);
}

TEST_F(KernelPlug, camerasOfOneNameAreTwo)
{
    const Vivid vivid(2);
    EXPECT_TRUE(becomesTrue([&] { return m_session->presentDevices().size() == 2; }));
    EXPECT_TRUE(becomesTrue([&] { return events().size() == 2; }));
}

TEST_F(KernelPlug, tenReloadsAreTenPairsInOrder)
{
    std::vector<std::string> expected;
    for (int cycle = 0; cycle < 10; ++cycle) {
        {
            const Vivid vivid;
            expected.emplace_back("add 0");
            ASSERT_TRUE(hears(expected));
        }
        expected.emplace_back("remove 0");
        ASSERT_TRUE(hears(expected));
    }
}

// ---- streaming ----

TEST_F(KernelStream, rawPicturesBecomeJpegsInEveryQuickSize)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    ASSERT_TRUE(m_session->open(0));
    const std::vector<CaptureMode> modes = quickModes(0);
    ASSERT_GE(modes.size(), 3U);
    ASSERT_TRUE(m_session->close(0));
    for (const CaptureMode &mode : modes) {
        ASSERT_TRUE(m_session->open(0));
        ASSERT_TRUE(m_session->selectMode(0, mode.number));
        ASSERT_TRUE(m_session->startCapture(0, take));
        ASSERT_TRUE(getsFrames());
        EXPECT_EQ(m_heard.width, mode.width);
        EXPECT_EQ(m_heard.height, mode.height);
        expectFrameIsAPicture();
        EXPECT_LT(secondsToClose(0), kCloseLimit);
    }
}

TEST_F(KernelStream, cameraInUseElsewhereWorksWhenItIsLetGo)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    ASSERT_TRUE(m_session->open(0));
    {
        const OtherProgram other;
        EXPECT_EQ(m_session->startCapture(0, take).code(), -EBUSY);
    }
    ASSERT_TRUE(m_session->startCapture(0, take));
    EXPECT_TRUE(getsFrames());
    ASSERT_TRUE(m_session->close(0));
}

TEST_F(KernelStream, disconnectWhileStreamingIsADepartureAndLeavesNothingOpen)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    const long descriptors = openDescriptors();
    startQuickly(0);
    ASSERT_TRUE(getsFrames());
    Vivid::press("Disconnect");
    ASSERT_TRUE(hears({"add 0", "remove 0"}));
    EXPECT_LT(secondsToClose(0), kCloseLimit);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(m_session->open(0).code(), -ENODEV);
    EXPECT_TRUE(Vivid::unload()); // the driver would refuse if somebody had it open
    Vivid::load(1);
    ASSERT_TRUE(hears({"add 0", "remove 0", "add 0"}));
    startQuickly(0);
    EXPECT_TRUE(getsFrames());
    ASSERT_TRUE(m_session->close(0));
}

TEST_F(KernelStream, disconnectOfAnOpenIdleCameraIsNoticed)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    ASSERT_TRUE(m_session->open(0));
    Vivid::press("Disconnect");
    EXPECT_TRUE(hears({"add 0", "remove 0"}));
    EXPECT_TRUE(Vivid::unload());
    ASSERT_TRUE(m_session->close(0));
}

TEST_F(KernelStream, fatalStreamErrorIsRecoveredFrom)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    startQuickly(0);
    ASSERT_TRUE(getsFrames());
    Vivid::press("Inject Fatal Streaming Error");
    EXPECT_TRUE(getsFrames(5));
    EXPECT_THAT(events(), ElementsAre("add 0"));
    ASSERT_TRUE(m_session->close(0));
}

TEST_F(KernelStream, damagedBuffersAreLeftOut)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    Vivid::set("Percentage of Dropped Buffers", 50);
    startQuickly(0);
    EXPECT_TRUE(getsFrames(10));
    expectFrameIsAPicture();
    ASSERT_TRUE(m_session->close(0));
}

TEST_F(KernelStream, shutDownEndsARunningStreamInTime)
{
    const Vivid vivid;
    ASSERT_TRUE(hears({"add 0"}));
    startQuickly(0);
    ASSERT_TRUE(getsFrames());
    const auto start = std::chrono::steady_clock::now();
    m_session->shutDown();
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
              kCloseLimit);
    const int frames = m_heard.frames;
    EXPECT_TRUE(Vivid::unload());
    EXPECT_EQ(m_heard.frames, frames);
}
