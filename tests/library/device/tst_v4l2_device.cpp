#include "library/device/v4l2/v4l2_device.h"

#include "tests/library/fakes/v4l2_fixture.h"

#include <cerrno>
#include <gmock/gmock.h>

using namespace korv;
using testing::ElementsAre;
using testing_support::becomesTrue;
using testing_support::Delivery;
using testing_support::FakeV4l2;
using testing_support::V4l2Fixture;

namespace {

class V4l2DeviceTest : public V4l2Fixture
{
protected:
    static Delivery good() { return {Delivery::Kind::Picture, picture()}; }
    static Delivery damaged() { return {Delivery::Kind::Damaged, {}}; }

    std::unique_ptr<CameraDevice> streaming()
    {
        auto device = opened();
        EXPECT_TRUE(device->start(m_frames));
        return device;
    }
};

} // namespace

// ---- opening ----

TEST_F(V4l2DeviceTest, openListsTheSizesAndChangesNothing)
{
    const auto device = opened();
    ASSERT_EQ(device->modes().size(), 2U);
    EXPECT_EQ(device->modes()[0].width, 320);
    EXPECT_EQ(device->currentMode(), 0);
    EXPECT_EQ(m_calls->count(VIDIOC_S_FMT), 0);
    EXPECT_EQ(m_calls->count(VIDIOC_REQBUFS), 0);
}

TEST_F(V4l2DeviceTest, refusedOpenSaysWhy)
{
    for (const int error : {-EACCES, -EBUSY, -ENODEV, -EMFILE}) {
        m_calls->answer(FakeV4l2::kOpen, {error});
        EXPECT_EQ(tryOpen().code(), error);
    }
    m_calls->unplug();
    EXPECT_EQ(tryOpen().code(), -ENODEV); // the node does not exist
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2DeviceTest, nodeWithoutUsableFormatDoesNotOpen)
{
    m_calls->formats = {{V4L2_PIX_FMT_H264, {{320, 240}}, {}}};
    EXPECT_EQ(tryOpen().code(), -ENODEV);
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2DeviceTest, selectedSizeIsAskedForWithItsShortestInterval)
{
    m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{320, 240, {66}}, {64, 48, {100, 40}}}, {}}};
    const auto device = opened();
    EXPECT_EQ(device->selectMode(7).code(), -EINVAL);
    ASSERT_TRUE(device->selectMode(1));
    EXPECT_EQ(device->currentMode(), 1);
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_EQ(device->selectMode(0).code(), -EBUSY);
    EXPECT_EQ(m_calls->intervalSet().numerator, 40U);
    EXPECT_EQ(m_calls->formatSet(), std::uint32_t{V4L2_PIX_FMT_MJPEG});
}

// ---- frames ----

TEST_F(V4l2DeviceTest, framesComeAsTheCameraSentThem)
{
    const auto device = streaming();
    ASSERT_TRUE(getsFrames(5));
    EXPECT_EQ(m_frames.width(), 320);
    EXPECT_EQ(m_frames.height(), 240);
    EXPECT_EQ(m_frames.latest(), picture());
}

TEST_F(V4l2DeviceTest, onlyOneStreamAtATime)
{
    const auto device = opened();
    EXPECT_EQ(device->stop().code(), -EINVAL);
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_EQ(device->start(m_frames).code(), -EBUSY);
    EXPECT_TRUE(device->stop());
    EXPECT_EQ(device->stop().code(), -EINVAL);
}

TEST_F(V4l2DeviceTest, stopEndsTheFramesAndGivesTheBuffersBack)
{
    const auto device = streaming();
    ASSERT_TRUE(getsFrames());
    ASSERT_TRUE(device->stop());
    const int count = m_frames.count();
    EXPECT_FALSE(m_calls->isStreaming());
    EXPECT_EQ(m_calls->mappings(), 0);
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(becomesTrue([&] { return m_frames.count() > count; }));
}

TEST_F(V4l2DeviceTest, damagedEmptyAndIncompletePicturesAreLeftOut)
{
    Bytes half = picture();
    half.resize(half.size() / 2);
    m_calls->script({{Delivery::Kind::Damaged, picture()},
                     {Delivery::Kind::Picture, {}},
                     {Delivery::Kind::Picture, half}});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_calls->count(VIDIOC_QBUF) >= 4 + 3; }));
    EXPECT_EQ(m_frames.count(), 0);
    m_calls->deliverNow({picture()});
    EXPECT_TRUE(becomesTrue([&] { return m_frames.count() == 1; }));
}

TEST_F(V4l2DeviceTest, newestFrameIsFoundInHoweverManyBuffersTheDriverGives)
{
    m_calls->leastBuffers = 12;
    std::vector<Bytes> all(10, picture({10, 10, 10}));
    all.push_back(picture({200, 200, 200}));
    m_calls->script({});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_calls->isStreaming(); }));
    m_calls->deliverNow(all);
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    EXPECT_EQ(m_frames.count(), 1);
    EXPECT_TRUE(m_frames.shows({200, 200, 200}));
}

TEST_F(V4l2DeviceTest, slowReceiverGetsTheNewestFrame)
{
    const std::vector<Bytes> all{picture({10, 10, 10}), picture({90, 90, 90}),
                                 picture({200, 200, 200})};
    m_calls->script({});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_calls->isStreaming(); }));
    m_calls->deliverNow(all);
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    EXPECT_TRUE(becomesTrue([&] { return m_frames.latest() == all.back(); }));
    EXPECT_TRUE(becomesTrue([&] { return m_calls->count(VIDIOC_QBUF) >= 4 + 3; }));
}

TEST_F(V4l2DeviceTest, substitutedSizeLabelsTheFrames)
{
    m_calls->formats = {{V4L2_PIX_FMT_GREY, {{320, 240}}, {}}};
    m_calls->insistOn(160, 120);
    m_calls->otherwise(Bytes(160 * 120, 200));
    const auto device = streaming();
    ASSERT_TRUE(getsFrames());
    EXPECT_EQ(m_frames.width(), 160);
    EXPECT_EQ(m_frames.height(), 120);
}

TEST_F(V4l2DeviceTest, rawPicturesAreReadWithTheDriversRowLength)
{
    m_calls->formats = {{V4L2_PIX_FMT_YUYV, {{320, 240}}, {}}};
    m_calls->bytesPerLine = 700;
    Bytes rows;
    for (int y = 0; y < 240; ++y) {
        for (int x = 0; x < 350; ++x) {
            rows.push_back(x < 320 ? 180 : 0);
            rows.push_back(x < 320 ? 128 : 0);
        }
    }
    m_calls->otherwise(rows);
    const auto device = streaming();
    ASSERT_TRUE(getsFrames());
    const auto image = jpeg::decode(m_frames.latest());
    ASSERT_TRUE(image);
    EXPECT_TRUE(testing_support::isNear(testing_support::colourAt(image.value(), 319, 239),
                                        {191, 191, 191}, 3));
}

// ---- other programs, refusals ----

TEST_F(V4l2DeviceTest, cameraHeldByAnotherProgramWorksWhenItIsLetGo)
{
    m_calls->holdByOther(true);
    const auto device = opened();
    EXPECT_EQ(device->start(m_frames).code(), -EBUSY);
    m_calls->holdByOther(false);
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(getsFrames());
}

TEST_F(V4l2DeviceTest, buffersTakenByAnotherProgramAreBusyToo)
{
    m_calls->answer(VIDIOC_REQBUFS, {-EBUSY});
    const auto device = opened();
    EXPECT_EQ(device->start(m_frames).code(), -EBUSY);
    EXPECT_TRUE(device->start(m_frames));
}

TEST_F(V4l2DeviceTest, refusedProbeAndRefusedCommitFailTheStartOnly)
{
    const auto device = opened();
    m_calls->answer(VIDIOC_S_FMT, {-EIO});
    EXPECT_EQ(device->start(m_frames).code(), -EIO);
    m_calls->answer(VIDIOC_STREAMON, {-EIO});
    EXPECT_EQ(device->start(m_frames).code(), -EIO);
    EXPECT_EQ(m_calls->mappings(), 0);
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(getsFrames());
}

TEST_F(V4l2DeviceTest, driverWithoutBuffersOrMappingIsReported)
{
    const auto device = opened();
    m_calls->answer(VIDIOC_QUERYBUF, {-EINVAL});
    EXPECT_EQ(device->start(m_frames).code(), -EINVAL);
    EXPECT_EQ(m_calls->mappings(), 0);
    EXPECT_TRUE(device->start(m_frames));
}

TEST_F(V4l2DeviceTest, driverThatCannotSetTheSpeedStreamsAnyway)
{
    m_calls->answer(VIDIOC_S_PARM, {-ENOTTY});
    const auto device = streaming();
    EXPECT_TRUE(getsFrames());
}
