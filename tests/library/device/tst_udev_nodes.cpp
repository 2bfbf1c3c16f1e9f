#include "library/device/udev/udev_nodes.h"

#include "tests/library/fakes/fake_v4l2.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace korv;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::FakeV4l2;

namespace {

class UdevNodesTest : public testing::Test
{
protected:
    UdevNodesTest()
    {
        m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{320, 240}}, {}}};
        m_calls->nodes = {"/dev/video0", "/dev/video1", "/dev/video2"};
    }

    /// A camera's node on a port, at its nth plug.
    static VideoNode node(int number, const std::string &port = "1-1", int plug = 1)
    {
        VideoNode made;
        const std::string name = "video" + std::to_string(number);
        made.path = "/sys/devices/usb1/" + port + "/" + port + ":1.0/video4linux/" + name;
        made.node = "/dev/" + name;
        made.usbPath = "/sys/devices/usb1/" + port;
        made.usbAddress = "1:" + std::to_string(plug);
        made.product = "Cam " + port;
        made.vid = 0x1b17;
        made.pid = 0x0211;
        made.saidToCapture = true;
        return made;
    }

    std::vector<std::string> heard() { return std::exchange(m_heard, {}); }

    std::string keyOf(std::size_t arrival) const { return m_keys.at(arrival); }

    std::shared_ptr<FakeV4l2> m_calls = std::make_shared<FakeV4l2>();
    std::vector<std::string> m_heard; ///< "+Cam 1-1", "-Cam 1-1"
    std::vector<std::string> m_keys;
    std::vector<std::string> m_prepared; ///< "plugged in Cam 1-1", "found Cam 1-1"
    std::map<std::string, DeviceIdentity> m_present;
    UdevNodes::TimePoint m_now{};
    UdevNodes m_nodes{m_calls,
                      [this](const DeviceIdentity &device) {
                          m_heard.push_back("+" + device.name);
                          m_keys.push_back(device.key);
                          EXPECT_TRUE(m_present.emplace(device.key, device).second);
                      },
                      [this](const std::string &key) {
                          m_heard.push_back("-" + m_present.at(key).name);
                          m_present.erase(key);
                      },
                      [this](const V4l2Node &opened, const VideoNode &prepared, Appearance how) {
                          EXPECT_TRUE(opened.isOpen());
                          m_prepared.push_back(
                              (how == Appearance::PluggedIn ? "plugged in " : "found ")
                              + prepared.product
                              + (m_heard.empty() ? "" : ", after " + m_heard.back()));
                      }};
};

} // namespace

// ---- what counts ----

TEST_F(UdevNodesTest, cameraArrivesOnceHoweverOftenItIsSeen)
{
    m_nodes.appeared(node(0), m_now); // by the enumeration
    m_nodes.appeared(node(0), m_now); // by the event
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
    EXPECT_EQ(m_calls->openDescriptors(), 0);
}

TEST_F(UdevNodesTest, metadataNodeIsNoCamera)
{
    m_calls->deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    m_nodes.appeared(node(1), m_now);
    m_nodes.vanished(node(1).path);
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(UdevNodesTest, nodeWithoutUsableFormatIsNoCamera)
{
    m_calls->formats = {{V4L2_PIX_FMT_H264, {{320, 240}}, {}}};
    m_nodes.appeared(node(0), m_now);
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(UdevNodesTest, identityIsTheUsbDevicesOwn)
{
    VideoNode camera = node(0);
    camera.product = std::string("\xE9\xAB\x98\xE6\x8B\x8D\xE4\xBB\xAA, A3") + std::string(60, 'x');
    m_nodes.appeared(camera, m_now);
    ASSERT_EQ(m_present.size(), 1U);
    const DeviceIdentity &device = m_present.begin()->second;
    EXPECT_EQ(device.name.find(','), std::string::npos);
    EXPECT_EQ(device.name.size(), 63U);
    EXPECT_THAT(device.name, HasSubstr("\xE9\xAB\x98\xE6\x8B\x8D\xE4\xBB\xAA  A3xxx"));
    EXPECT_EQ(device.vid, 0x1b17);
    EXPECT_EQ(device.pid, 0x0211);
}

TEST_F(UdevNodesTest, cameraThatIsNoUsbDeviceHasItsDriversNameAndNoIds)
{
    m_calls->card = "vivid";
    VideoNode camera = node(0);
    camera.product = {};
    camera.usbPath = {};
    camera.usbAddress = {};
    camera.vid = camera.pid = 0;
    m_nodes.appeared(camera, m_now);
    EXPECT_THAT(heard(), ElementsAre("+vivid"));
    EXPECT_EQ(m_present.begin()->second.vid, 0);
    m_calls->card = {};
    camera.path += "x";
    m_nodes.appeared(camera, m_now);
    EXPECT_THAT(heard(), ElementsAre("+USB Camera"));
}

TEST_F(UdevNodesTest, identicalCamerasAreTwo)
{
    VideoNode other = node(2, "1-2", 2);
    other.product = node(0).product;
    m_nodes.appeared(node(0), m_now);
    m_nodes.appeared(other, m_now);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "+Cam 1-1"));
    EXPECT_EQ(m_nodes.find(keyOf(0))->node, "/dev/video0");
    EXPECT_EQ(m_nodes.find(keyOf(1))->node, "/dev/video2");
}

TEST_F(UdevNodesTest, arrivalTellsNodeAndSerialNumber)
{
    VideoNode camera = node(0);
    camera.serial = "A\n1";
    m_nodes.appeared(camera, m_now);
    ASSERT_EQ(m_present.size(), 1U);
    EXPECT_EQ(m_present.begin()->second.node, "/dev/video0");
    EXPECT_EQ(m_present.begin()->second.serial, "A 1");
    m_nodes.vanished(camera.path);
    m_nodes.appeared(node(0, "1-1", 2), m_now);
    EXPECT_EQ(m_present.begin()->second.serial, "");
}

// ---- preparation ----

TEST_F(UdevNodesTest, cameraIsPreparedBeforeItArrives)
{
    m_nodes.wasThere(node(0), m_now);
    m_nodes.appeared(node(0), m_now); // the event that says so too
    EXPECT_THAT(m_prepared, ElementsAre("found Cam 1-1"));
    m_nodes.vanished(node(0).path);
    heard();
    m_nodes.appeared(node(0, "1-1", 2), m_now);
    EXPECT_THAT(m_prepared, ElementsAre("found Cam 1-1", "plugged in Cam 1-1"));
}

TEST_F(UdevNodesTest, cameraThatWasLostIsFoundAgain)
{
    m_nodes.appeared(node(0), m_now);
    heard();
    m_prepared.clear();
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Lost, m_now);
    EXPECT_THAT(m_prepared, ElementsAre("found Cam 1-1, after -Cam 1-1"));
}

TEST_F(UdevNodesTest, whatIsNoCameraIsNotPrepared)
{
    m_calls->deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    m_nodes.appeared(node(1), m_now);
    EXPECT_THAT(m_prepared, IsEmpty());
}

// ---- rights ----

TEST_F(UdevNodesTest, cameraArrivesWhenItCanBeOpened)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES, -EACCES, -EACCES});
    m_nodes.appeared(node(0), m_now);
    for (int look = 0; look < 2; ++look) {
        ASSERT_TRUE(m_nodes.nextLook());
        m_nodes.lookAgain(*m_nodes.nextLook());
        EXPECT_THAT(heard(), IsEmpty());
    }
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
    EXPECT_FALSE(m_nodes.nextLook());
}

TEST_F(UdevNodesTest, cameraThatNeverGetsRightsArrivesWithALineThatSaysWhy)
{
    m_calls->answer(FakeV4l2::kOpen, std::vector<int>(100, -EACCES));
    m_nodes.appeared(node(0), m_now);
    testing::internal::CaptureStderr();
    while (m_nodes.nextLook())
        m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/dev/video0"));
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

TEST_F(UdevNodesTest, cameraThatWasThereBeforeIsNotWaitedFor)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES});
    testing::internal::CaptureStderr();
    m_nodes.wasThere(node(0), m_now);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/dev/video0"));
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

TEST_F(UdevNodesTest, metadataNodeWithoutRightsStaysOut)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES});
    VideoNode metadata = node(1);
    metadata.saidToCapture = false;
    m_nodes.appeared(metadata, m_now);
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_FALSE(m_nodes.nextLook());
}

TEST_F(UdevNodesTest, changedRightsAreNoticed)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES});
    m_nodes.appeared(node(0), m_now);
    m_nodes.appeared(node(0), m_now); // udev's "change"
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

TEST_F(UdevNodesTest, nodeThatBecomesACameraLaterArrives)
{
    m_calls->deviceCaps = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
    m_nodes.appeared(node(0), m_now);
    EXPECT_THAT(heard(), IsEmpty());
    m_calls->deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    m_nodes.appeared(node(0), m_now); // udev's "change"
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
    m_nodes.appeared(node(0), m_now);
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(UdevNodesTest, nodeThatIsSaidToCaptureLaterIsGivenTimeForItsRights)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES, -EACCES});
    VideoNode camera = node(0);
    camera.saidToCapture = false;
    m_nodes.appeared(camera, m_now);
    m_now += UdevNodes::kRightsTime * 2;
    camera.saidToCapture = true;
    m_nodes.appeared(camera, m_now);
    EXPECT_THAT(heard(), IsEmpty());
    ASSERT_TRUE(m_nodes.nextLook());
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

// ---- a shortage of descriptors or memory ----

TEST_F(UdevNodesTest, shortageDelaysACameraHoweverLongItLasts)
{
    m_calls->answer(FakeV4l2::kOpen, std::vector<int>(40, -EMFILE));
    VideoNode camera = node(0);
    camera.saidToCapture = false; // no reason to pass it over
    testing::internal::CaptureStderr();
    m_nodes.wasThere(camera, m_now);
    for (int look = 0; look < 39; ++look) {
        ASSERT_TRUE(m_nodes.nextLook());
        m_nodes.lookAgain(*m_nodes.nextLook());
    }
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("/dev/video0 (Cam 1-1): Too many open files"));
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    EXPECT_THAT(heard(), IsEmpty());
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
    EXPECT_FALSE(m_nodes.nextLook());
}

TEST_F(UdevNodesTest, cameraThatMayBeBusyForMemoryIsLookedAtAgain)
{
    m_calls->answer(VIDIOC_QUERYCAP, {-ENOMEM});
    m_nodes.appeared(node(0), m_now);
    EXPECT_THAT(heard(), IsEmpty());
    ASSERT_TRUE(m_nodes.nextLook());
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

// ---- going and coming back ----

TEST_F(UdevNodesTest, cameraDepartsOnceAndUnknownNodesNever)
{
    m_nodes.appeared(node(0), m_now);
    m_nodes.vanished(node(0).path);
    m_nodes.vanished(node(0).path);
    m_nodes.vanished("/sys/nothing");
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1"));
    EXPECT_FALSE(m_nodes.find(keyOf(0)));
}

TEST_F(UdevNodesTest, cameraThatVanishesBeforeItWasReadyIsNotMentioned)
{
    m_calls->answer(FakeV4l2::kOpen, {-EACCES, -ENOENT});
    m_nodes.appeared(node(0), m_now);
    m_nodes.vanished(node(0).path);
    m_nodes.appeared(node(0), m_now);
    m_nodes.vanished(node(0).path);
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(UdevNodesTest, replugOnTheSamePortDepartsFirstWhateverTheOrderOfEvents)
{
    m_nodes.appeared(node(0, "1-1", 1), m_now);
    m_nodes.appeared(node(1, "1-1", 2), m_now); // another node: the old one is still held open
    m_nodes.vanished(node(0, "1-1", 1).path);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1", "+Cam 1-1"));
    EXPECT_EQ(m_nodes.find(keyOf(1))->node, "/dev/video1");
}

TEST_F(UdevNodesTest, replugUnderTheSameNodeIsAnotherCamera)
{
    m_nodes.appeared(node(0, "1-1", 1), m_now);
    m_nodes.appeared(node(0, "1-1", 2), m_now);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1", "+Cam 1-1"));
    EXPECT_NE(keyOf(0), keyOf(1));
}

TEST_F(UdevNodesTest, secondPictureNodeOfACameraStaysWhenTheFirstArrives)
{
    m_nodes.appeared(node(0), m_now);
    m_nodes.appeared(node(2), m_now);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "+Cam 1-1"));
}

TEST_F(UdevNodesTest, twentyPlugCyclesAreTwentyPairs)
{
    for (int plug = 1; plug <= 20; ++plug) {
        m_nodes.appeared(node(0, "1-1", plug), m_now);
        m_nodes.appeared(node(0, "1-1", plug), m_now);
        m_nodes.vanished(node(0).path);
        EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1"));
    }
}

TEST_F(UdevNodesTest, lostEventsAreMadeUpFor)
{
    m_nodes.appeared(node(0, "1-1", 1), m_now);
    m_nodes.appeared(node(1, "1-2", 2), m_now);
    heard();
    m_nodes.reconcile({node(1, "1-2", 2), node(2, "1-3", 3)}, m_now);
    EXPECT_THAT(heard(), ElementsAre("-Cam 1-1", "+Cam 1-3"));
    m_nodes.reconcile({node(1, "1-2", 5), node(2, "1-3", 3)}, m_now);
    EXPECT_THAT(heard(), ElementsAre("-Cam 1-2", "+Cam 1-2"));
}

// ---- what open cameras find out ----

TEST_F(UdevNodesTest, goneCameraDepartsAtOnceAndItsEventSaysNothingNew)
{
    m_nodes.appeared(node(0), m_now);
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Gone, m_now);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1"));
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Gone, m_now);
    m_nodes.vanished(node(0).path);
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_FALSE(m_nodes.nextLook());
}

TEST_F(UdevNodesTest, goneCameraWhoseNodeStaysDeadDoesNotComeBack)
{
    m_nodes.appeared(node(0), m_now);
    heard();
    m_calls->answer(FakeV4l2::kOpen, {-ENODEV, -ENODEV});
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Gone, m_now);
    heard();
    m_nodes.lookAgain(*m_nodes.nextLook());
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), IsEmpty());
    m_nodes.lookAgain(*m_nodes.nextLook());
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1"));
}

TEST_F(UdevNodesTest, lostCameraLeavesAndIsFoundAnew)
{
    m_nodes.appeared(node(0), m_now);
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Lost, m_now);
    EXPECT_THAT(heard(), ElementsAre("+Cam 1-1", "-Cam 1-1", "+Cam 1-1"));
    EXPECT_NE(keyOf(0), keyOf(1));
    m_nodes.updateFrom(keyOf(0), V4l2Exit::Lost, m_now); // an old key means nothing
    EXPECT_THAT(heard(), IsEmpty());
}
