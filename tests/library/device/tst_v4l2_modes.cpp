#include "library/device/v4l2/v4l2_modes.h"

#include "tests/library/fakes/fake_v4l2.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace korv;
using testing::ElementsAre;
using testing_support::FakeFormat;
using testing_support::FakeV4l2;

namespace {

class V4l2Modes : public testing::Test
{
protected:
    std::vector<V4l2Mode> modes()
    {
        const V4l2Node node(m_calls, m_calls->open("/dev/video0"));
        const auto listed = listModes(node);
        EXPECT_TRUE(listed);
        return listed ? listed.value() : std::vector<V4l2Mode>();
    }

    static std::vector<std::string> texts(const std::vector<V4l2Mode> &modes)
    {
        std::vector<std::string> all;
        for (const V4l2Mode &mode : modes)
            all.push_back(std::to_string(mode.mode.number) + " " + std::to_string(mode.mode.width)
                          + "x" + std::to_string(mode.mode.height));
        return all;
    }

    static FakeFormat range(std::uint32_t format, v4l2_frmsize_stepwise sizes)
    {
        FakeFormat made;
        made.pixelFormat = format;
        made.range = sizes;
        return made;
    }

    std::shared_ptr<FakeV4l2> m_calls = std::make_shared<FakeV4l2>();
};

} // namespace

TEST_F(V4l2Modes, sizesAreListedOnceLargestFirstAndNumberedFromZero)
{
    m_calls->formats = {{V4L2_PIX_FMT_YUYV, {{640, 480}, {1280, 720}}, {}},
                        {V4L2_PIX_FMT_MJPEG, {{640, 480}, {2592, 1944}, {1920, 1080}}, {}}};
    EXPECT_THAT(texts(modes()),
                ElementsAre("0 2592x1944", "1 1920x1080", "2 1280x720", "3 640x480"));
}

TEST_F(V4l2Modes, jpegIsPreferredAndRawFormatsFillWhatItLacks)
{
    m_calls->formats = {{V4L2_PIX_FMT_GREY, {{640, 480}, {320, 240}, {160, 120}}, {}},
                        {V4L2_PIX_FMT_YUYV, {{640, 480}, {320, 240}}, {}},
                        {V4L2_PIX_FMT_MJPEG, {{640, 480}}, {}}};
    const auto listed = modes();
    ASSERT_EQ(listed.size(), 3U);
    EXPECT_EQ(listed[0].pixelFormat, std::uint32_t{V4L2_PIX_FMT_MJPEG});
    EXPECT_EQ(listed[1].pixelFormat, std::uint32_t{V4L2_PIX_FMT_YUYV});
    EXPECT_EQ(listed[2].pixelFormat, std::uint32_t{V4L2_PIX_FMT_GREY});
}

TEST_F(V4l2Modes, formatsOfNoUseAreLeftOut)
{
    m_calls->formats = {{V4L2_PIX_FMT_H264, {{1920, 1080}}, {}}};
    EXPECT_TRUE(modes().empty());
}

TEST_F(V4l2Modes, rangesOfSizesGiveTheUsualOnesThatFitAndTheLargest)
{
    m_calls->formats = {range(V4L2_PIX_FMT_YUYV, {320, 2000, 1, 240, 1500, 1})};
    EXPECT_THAT(texts(modes()),
                ElementsAre("0 2000x1500", "1 1920x1080", "2 1600x1200", "3 1280x1024",
                            "4 1280x960", "5 1280x720", "6 1024x768", "7 800x600", "8 640x480",
                            "9 320x240"));
    m_calls->formats = {range(V4L2_PIX_FMT_YUYV, {160, 1280, 160, 120, 960, 120})};
    EXPECT_THAT(texts(modes()),
                ElementsAre("0 1280x960", "1 1280x720", "2 800x600", "3 640x480", "4 320x240"));
}

TEST_F(V4l2Modes, sizesBeyondReasonAreLeftOut)
{
    m_calls->formats = {range(V4L2_PIX_FMT_YUYV, {48, 16384, 2, 32, 8640, 1})};
    EXPECT_EQ(texts(modes()).front(), "0 3264x2448");
    m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{0, 480}, {640, 0}, {100'000, 100'000}}, {}}};
    EXPECT_TRUE(modes().empty());
}

TEST_F(V4l2Modes, shortestIntervalOfASizeIsTaken)
{
    m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{640, 480, {200, 33, 66}}}, {}}};
    const auto listed = modes();
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_NEAR(listed[0].interval.seconds(), 0.033, 1e-6);
}

TEST_F(V4l2Modes, beginsWithTheLargestSizeAtTenFramesASecond)
{
    m_calls->formats = {
        {V4L2_PIX_FMT_MJPEG,
         {{3264, 2448, {500}}, {2592, 1944, {200, 100}}, {1920, 1080, {33}}, {640, 480, {16}}},
         {}}};
    EXPECT_EQ(modeToBeginWith(modes()), 1);
}

TEST_F(V4l2Modes, beginsWithTheFastestWhereNoneIsFluent)
{
    m_calls->formats = {
        {V4L2_PIX_FMT_MJPEG,
         {{3264, 2448, {500}}, {2592, 1944, {250}}, {1920, 1080, {250}}, {640, 480, {300}}},
         {}}};
    EXPECT_EQ(modeToBeginWith(modes()), 1);
}

TEST_F(V4l2Modes, unknownSpeedCountsAsFluent)
{
    m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{1920, 1080, {}}, {640, 480, {33}}}, {}}};
    EXPECT_EQ(modeToBeginWith(modes()), 0);
}

TEST_F(V4l2Modes, nodeOfMetadataCapturesNoVideoThoughItsDeviceDoes)
{
    const V4l2Node node(m_calls, m_calls->open("/dev/video0"));
    EXPECT_TRUE(queryIdentity(node).value().capturesVideo());
    m_calls->deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    EXPECT_FALSE(queryIdentity(node).value().capturesVideo());
    m_calls->deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE;
    EXPECT_FALSE(queryIdentity(node).value().capturesVideo());
}

TEST_F(V4l2Modes, cardTextFillsItsFieldWithoutAnEnd)
{
    m_calls->card = std::string(40, 'n');
    const V4l2Node node(m_calls, m_calls->open("/dev/video0"));
    EXPECT_EQ(queryIdentity(node).value().card, std::string(31, 'n'));
}

TEST_F(V4l2Modes, unplugWhileListingIsReported)
{
    m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{640, 480}}, {}}};
    for (const unsigned long request :
         {VIDIOC_ENUM_FMT, VIDIOC_ENUM_FRAMESIZES, VIDIOC_ENUM_FRAMEINTERVALS}) {
        m_calls->answer(request, {-ENODEV});
        const V4l2Node node(m_calls, m_calls->open("/dev/video0"));
        EXPECT_EQ(listModes(node).code(), -ENODEV);
    }
    EXPECT_EQ(m_calls->openDescriptors(), 0);
}
