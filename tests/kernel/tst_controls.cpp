#include "library/api/session.h"
#include "library/controls/control_access.h"
#include "library/device/udev/udev_monitor.h"
#include "tests/kernel/vivid.h"
#include "tests/library/support/wait.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>

using kernel_tests::Vivid;
using korv::CameraControls;
using korv::Control;
using korv::Session;
using testing_support::becomesTrue;

namespace {

/// What is saved for the virtual camera, which is no USB device.
CameraControls savedControls()
{
    CameraControls controls;
    controls.saved[{0, 0}] = {
        {"brightness", "200"}, {"contrast", "77"}, {"gain_automatic", "off"}, {"gain", "50"}};
    return controls;
}

/// The library over the kernel, with controls saved for its virtual camera.
class KernelControls : public testing::Test
{
protected:
    void TearDown() override
    {
        m_session.reset();
        EXPECT_TRUE(Vivid::unload());
    }

    void start(const CameraControls &wanted)
    {
        m_session.reset();
        Session::Monitors monitors;
        monitors.push_back(std::make_unique<korv::UdevMonitor>(
            korv::systemV4l2Calls(), korv::V4l2Patience(), korv::UdevSource::create, wanted));
        m_session = std::make_unique<Session>(std::move(monitors));
        ASSERT_TRUE(m_session->start());
    }

    /// The camera's controls; waits until it has arrived.
    std::vector<Control> controls()
    {
        EXPECT_TRUE(becomesTrue([&] { return !m_session->presentDevices().empty(); }));
        const auto devices = m_session->presentDevices();
        if (devices.empty())
            return {};
        const auto calls = korv::systemV4l2Calls();
        const korv::V4l2Node node(calls, calls->open(devices.front().identity.node));
        auto listed = korv::listControls(
            [&](unsigned long request, void *argument) { return node.control(request, argument); });
        return listed ? std::move(listed).value() : std::vector<Control>();
    }

    static int valueOf(const std::vector<Control> &all, const std::string &name)
    {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const Control &each) { return each.name == name; });
        return found == all.end() ? -1 : found->value.value_or(-1);
    }

    std::unique_ptr<Session> m_session;
};

} // namespace

TEST_F(KernelControls, savedValuesAreSetWhenTheCameraHasArrived)
{
    start(savedControls());
    for (int cycle = 0; cycle < 3; ++cycle) {
        const Vivid vivid;
        const std::vector<Control> all = controls();
        EXPECT_EQ(valueOf(all, "brightness"), 200);
        EXPECT_EQ(valueOf(all, "contrast"), 77);
        EXPECT_EQ(valueOf(all, "gain_automatic"), 0);
        EXPECT_EQ(valueOf(all, "gain"), 50);
        Vivid::unload();
        ASSERT_TRUE(becomesTrue([&] { return m_session->presentDevices().empty(); }));
    }
}

TEST_F(KernelControls, valueThatSomebodySetBeforeStays)
{
    const Vivid vivid;
    start(CameraControls::leftAlone());
    controls(); // the camera is known to the system from here on
    Vivid::set("Brightness", 7);
    start(savedControls());
    const std::vector<Control> all = controls();
    EXPECT_EQ(valueOf(all, "brightness"), 7);
    EXPECT_EQ(valueOf(all, "contrast"), 77);
}

TEST_F(KernelControls, everyKindOfControlOfTheDriverIsListed)
{
    const Vivid vivid;
    start(CameraControls::leftAlone());
    const std::vector<Control> all = controls();
    EXPECT_GT(all.size(), 20U);
    for (const auto kind :
         {korv::ControlKind::Number, korv::ControlKind::Switch, korv::ControlKind::Menu,
          korv::ControlKind::Button, korv::ControlKind::Unsupported})
        EXPECT_TRUE(std::any_of(all.begin(), all.end(), [=](const Control &each) {
            return each.kind == kind;
        })) << static_cast<int>(kind);
    for (const Control &control : all)
        EXPECT_NE(control.name, "");
}
