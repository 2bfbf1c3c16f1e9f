#include "library/controls/control_access.h"

#include "library/controls/control_names.h"
#include "library/controls/control_order.h"
#include "tests/library/fakes/fake_controls.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string_view>

using namespace korv;
using testing::ElementsAre;
using testing_support::FakeControls;

namespace {

const Control &called(const std::vector<Control> &controls, std::string_view name)
{
    for (const Control &control : controls) {
        if (control.name == name)
            return control;
    }
    throw std::runtime_error("no control " + std::string(name));
}

} // namespace

TEST(ControlNames, areThoseOfV4l2Ctl)
{
    // what v4l2-ctl -L prints for these on Debian 12
    EXPECT_EQ(controlName("White Balance, Automatic"), "white_balance_automatic");
    EXPECT_EQ(controlName("Exposure Time, Absolute"), "exposure_time_absolute");
    EXPECT_EQ(controlName("Auto Focus, Start"), "auto_focus_start");
    EXPECT_EQ(controlName("Gamma"), "gamma");
    EXPECT_EQ(controlName("4:3 (pan/scan)"), "4_3_pan_scan");
    EXPECT_EQ(controlName(" - x"), "x");
    EXPECT_EQ(controlName(""), "");
    EXPECT_EQ(controlName("\xE4\xBA\xAE"), "");
}

TEST(ControlAccess, listsWhatTheDriverHasInItsOrder)
{
    FakeControls camera = FakeControls::camera();
    camera.controls[V4L2_CID_CONTRAST] = {V4L2_CTRL_TYPE_INTEGER, "Contrast", 0, 9, 1, 1,
                                          V4L2_CTRL_FLAG_DISABLED};
    camera.controls[V4L2_CTRL_CLASS_CAMERA | 1] = {V4L2_CTRL_TYPE_CTRL_CLASS, "Camera Controls"};
    const auto listed = listControls(camera.call());
    ASSERT_TRUE(listed);
    std::vector<std::string> names;
    for (const Control &control : listed.value())
        names.push_back(control.name);
    EXPECT_THAT(names,
                ElementsAre("brightness", "white_balance_automatic", "power_line_frequency",
                            "white_balance_temperature", "auto_exposure", "exposure_time_absolute",
                            "auto_focus_start"));
}

TEST(ControlAccess, tellsRangeValueAndFlags)
{
    FakeControls camera = FakeControls::camera();
    const auto listed = listControls(camera.call());
    ASSERT_TRUE(listed);
    const Control &temperature = called(listed.value(), "white_balance_temperature");
    EXPECT_EQ(temperature.minimum, 2800);
    EXPECT_EQ(temperature.maximum, 6500);
    EXPECT_EQ(temperature.step, 10);
    EXPECT_EQ(temperature.standard, 4600);
    EXPECT_EQ(temperature.value, 4600);
    EXPECT_TRUE(temperature.isInactive());
    EXPECT_TRUE(temperature.isKeepable());
    const Control &exposure = called(listed.value(), "auto_exposure");
    ASSERT_EQ(exposure.choices.size(), 2U); // two of four numbers
    EXPECT_EQ(exposure.choices[1].number, 3);
    EXPECT_EQ(exposure.choices[1].name, "Aperture Priority Mode");
    const Control &button = called(listed.value(), "auto_focus_start");
    EXPECT_EQ(button.kind, ControlKind::Button);
    EXPECT_FALSE(button.value);
    EXPECT_FALSE(button.isKeepable());
}

TEST(ControlAccess, nodeWithoutControlsHasNone)
{
    FakeControls nothing;
    const auto listed = listControls(nothing.call());
    ASSERT_TRUE(listed);
    EXPECT_TRUE(listed.value().empty());
    nothing.failures[VIDIOC_QUERYCTRL] = -ENODEV;
    EXPECT_EQ(listControls(nothing.call()).code(), -ENODEV);
}

TEST(ControlAccess, driverThatRepeatsItselfIsNotAskedForEver)
{
    int asked = 0;
    const auto listed = listControls([&](unsigned long request, void *argument) {
        ++asked;
        if (request == VIDIOC_QUERYCTRL)
            static_cast<v4l2_queryctrl *>(argument)->id = V4L2_CID_BRIGHTNESS;
        return 0;
    });
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed.value().size(), 1U);
    EXPECT_LT(asked, 10);
}

TEST(ControlAccess, driversRefusalIsTheError)
{
    FakeControls camera = FakeControls::camera();
    const auto temperature = queryControl(camera.call(), V4L2_CID_WHITE_BALANCE_TEMPERATURE);
    ASSERT_TRUE(temperature);
    EXPECT_EQ(writeControl(camera.call(), temperature.value(), 5000).code(), -EACCES);
    EXPECT_EQ(queryControl(camera.call(), V4L2_CID_GAMMA).code(), -EINVAL);
}

TEST(ControlOrder, automaticsRule)
{
    FakeControls camera = FakeControls::camera();
    const auto listed = listControls(camera.call());
    ASSERT_TRUE(listed);
    const auto &all = listed.value();
    EXPECT_TRUE(isMaster(called(all, "auto_exposure")));
    EXPECT_FALSE(isMaster(called(all, "brightness")));
    EXPECT_EQ(masterOf(called(all, "exposure_time_absolute"), all)->name, "auto_exposure");
    EXPECT_EQ(masterOf(called(all, "brightness"), all), nullptr);
}
