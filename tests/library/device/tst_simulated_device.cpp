#include "library/device/simulated/builtin_pages.h"
#include "library/device/simulated/folder_pages.h"
#include "library/device/simulated/simulated_device.h"

#include "tests/library/support/frame_keeper.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

using korv::CaptureMode;
using korv::SimulatedDevice;
using testing_support::becomesTrue;
using testing_support::Colour;
using testing_support::FrameKeeper;
using testing_support::makeFolder;
using testing_support::plainImage;
using testing_support::TemporaryFolder;

namespace {

constexpr int kSmallest = 5; ///< number of 640 x 480
constexpr Colour kRed{200, 30, 30};
constexpr Colour kGreen{30, 150, 30};
constexpr Colour kBlue{30, 40, 190};

class SimulatedDeviceTest : public testing::Test
{
protected:
    SimulatedDevice camera()
    {
        return SimulatedDevice(m_plug, std::make_unique<korv::FolderPages>(m_folder.path()));
    }
    void layPage(const std::string &name, int width, int height, const Colour &colour)
    {
        // made elsewhere and moved in, as a program that writes whole files does
        const std::string path = m_folder / name;
        testing_support::writeFile(path + ".part",
                                   testing_support::jpegOf(plainImage(width, height, colour)));
        std::filesystem::rename(path + ".part", path);
    }

    TemporaryFolder m_folder;
    std::shared_ptr<korv::Plug> m_plug = std::make_shared<korv::Plug>();
    FrameKeeper m_frames;
};

int area(const CaptureMode &mode)
{
    return mode.width * mode.height;
}

} // namespace

TEST_F(SimulatedDeviceTest, offersTheUsualSizesLargestFirst)
{
    const SimulatedDevice device = camera();
    const auto &modes = device.modes();
    ASSERT_EQ(modes.size(), 6U);
    EXPECT_EQ(modes.front().width, 3264);
    EXPECT_EQ(modes.front().height, 2448);
    EXPECT_EQ(modes.back().width, 640);
    EXPECT_EQ(modes.back().height, 480);
    for (std::size_t at = 1; at < modes.size(); ++at)
        EXPECT_GT(area(modes[at - 1]), area(modes[at]));
}

TEST_F(SimulatedDeviceTest, offersTheSizeOfALargerPageWithoutRenumberingTheOthers)
{
    layPage("large.jpg", 4000, 3000, kRed);
    layPage("small.jpg", 100, 100, kRed);
    const SimulatedDevice device = camera();
    ASSERT_EQ(device.modes().size(), 7U);
    EXPECT_EQ(device.modes()[0].width, 4000);
    EXPECT_EQ(device.modes()[0].height, 3000);
    EXPECT_EQ(device.modes()[0].number, 6);
    EXPECT_EQ(device.modes()[1].number, 0);
}

TEST_F(SimulatedDeviceTest, selectsOnlyModesItOffers)
{
    SimulatedDevice device = camera();
    EXPECT_EQ(device.selectMode(6).code(), -EINVAL);
    EXPECT_EQ(device.selectMode(-1).code(), -EINVAL);
    EXPECT_TRUE(device.selectMode(kSmallest));
    EXPECT_EQ(device.currentMode(), kSmallest);
}

TEST_F(SimulatedDeviceTest, framesHaveTheSelectedSize)
{
    layPage("page.jpg", 400, 300, kRed);
    SimulatedDevice device = camera();
    for (const CaptureMode &mode : device.modes()) {
        FrameKeeper frames;
        ASSERT_TRUE(device.selectMode(mode.number));
        ASSERT_TRUE(device.start(frames));
        ASSERT_TRUE(becomesTrue([&] { return frames.count() > 0; }));
        ASSERT_TRUE(device.stop());
        EXPECT_EQ(frames.width(), mode.width);
        EXPECT_EQ(frames.height(), mode.height);
        const auto info = korv::jpeg::readInfo(frames.latest());
        ASSERT_TRUE(info);
        EXPECT_EQ(info.value().width, mode.width);
        EXPECT_EQ(info.value().height, mode.height);
    }
}

TEST_F(SimulatedDeviceTest, lifeCycleIsKept)
{
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    EXPECT_EQ(device.stop().code(), -EINVAL);
    ASSERT_TRUE(device.start(m_frames));
    EXPECT_EQ(device.start(m_frames).code(), -EBUSY);
    EXPECT_EQ(device.selectMode(0).code(), -EBUSY);
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 1; }));
    EXPECT_TRUE(device.stop());
    const int count = m_frames.count();
    ASSERT_TRUE(device.start(m_frames));
    EXPECT_TRUE(becomesTrue([&] { return m_frames.count() > count; }));
}

TEST_F(SimulatedDeviceTest, pullingThePlugEndsTheFrames)
{
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    ASSERT_TRUE(device.start(m_frames));
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 1; }));
    m_plug->pull();
    EXPECT_TRUE(device.stop());
    EXPECT_EQ(device.start(m_frames).code(), -ENODEV);
}

TEST_F(SimulatedDeviceTest, pageFillsThePictureWhenItHasItsProportions)
{
    layPage("page.JPG", 320, 240, kGreen);
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    ASSERT_TRUE(device.start(m_frames));
    ASSERT_TRUE(m_frames.shows(kGreen));
    const auto picture = korv::jpeg::decode(m_frames.latest());
    EXPECT_TRUE(testing_support::isNear(testing_support::colourAt(picture.value(), 1, 1), kGreen));
    EXPECT_TRUE(
        testing_support::isNear(testing_support::colourAt(picture.value(), 638, 440), kGreen));
}

TEST_F(SimulatedDeviceTest, pageOfOtherProportionsLiesWholeOnTheDesk)
{
    layPage("page.jpg", 100, 200, kGreen);
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    ASSERT_TRUE(device.start(m_frames));
    ASSERT_TRUE(m_frames.shows(kGreen));
    const auto picture = korv::jpeg::decode(m_frames.latest());
    EXPECT_FALSE(
        testing_support::isNear(testing_support::colourAt(picture.value(), 20, 240), kGreen, 40));
}

TEST_F(SimulatedDeviceTest, pagesComeAndGoWhileItStreams)
{
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    ASSERT_TRUE(device.start(m_frames));
    layPage("one.jpg", 320, 240, kRed);
    EXPECT_TRUE(m_frames.shows(kRed));
    std::filesystem::remove(m_folder / "one.jpg");
    makeFolder(m_folder / "below");
    layPage("below/two.jpeg", 320, 240, kBlue);
    EXPECT_TRUE(m_frames.shows(kBlue));
    std::filesystem::remove_all(m_folder / "below");
    EXPECT_TRUE(m_frames.shows({96, 68, 46})) << "the desk";
}

TEST_F(SimulatedDeviceTest, brokenPageIsPassedOver)
{
    testing_support::writeFile(m_folder / "a.jpg", std::string("no picture"));
    testing_support::writeFile(m_folder / "b.jpg", std::string());
    layPage("c.jpg", 320, 240, kRed);
    SimulatedDevice device = camera();
    ASSERT_TRUE(device.selectMode(kSmallest));
    ASSERT_TRUE(device.start(m_frames));
    EXPECT_TRUE(m_frames.shows(kRed));
}

TEST_F(SimulatedDeviceTest, destructionEndsTheStream)
{
    {
        SimulatedDevice device = camera();
        ASSERT_TRUE(device.selectMode(kSmallest));
        ASSERT_TRUE(device.start(m_frames));
        ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    }
    const int count = m_frames.count();
    EXPECT_GT(count, 0);
}

TEST(builtinPages, areDifferentPagesOnADarkDesk)
{
    const korv::BuiltinPages pages;
    const auto ids = pages.pages();
    ASSERT_GE(ids.size(), 3U);
    korv::Bytes before;
    for (const std::string &id : ids) {
        const auto picture = pages.render(id, 640, 480);
        ASSERT_TRUE(picture);
        ASSERT_EQ(picture.value().width(), 640);
        ASSERT_EQ(picture.value().height(), 480);
        EXPECT_LT(testing_support::colourAt(picture.value(), 10, 10)[1], 100) << "desk";
        EXPECT_GT(testing_support::colourAt(picture.value(), 330, 330)[1], 200) << "paper";
        const korv::Bytes encoded = testing_support::jpegOf(picture.value());
        EXPECT_NE(encoded, before);
        before = encoded;
    }
    EXPECT_EQ(pages.render("no such page", 640, 480).code(), -ENOENT);
}
