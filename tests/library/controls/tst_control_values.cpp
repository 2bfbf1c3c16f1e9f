#include "library/controls/control_values.h"

#include "tests/library/fakes/fake_controls.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace korv;
using testing_support::FakeControls;

namespace {

Control control(std::uint32_t id)
{
    FakeControls camera = FakeControls::camera();
    auto found = queryControl(camera.call(), id);
    return found ? std::move(found).value() : Control();
}

int parsed(std::uint32_t id, const std::string &text)
{
    const auto value = parseControlValue(control(id), text);
    return value ? value.value() : value.code();
}

std::string refusalOf(std::uint32_t id, const std::string &text)
{
    const auto value = parseControlValue(control(id), text);
    return value ? "accepted" : value.error().text;
}

} // namespace

TEST(ControlValues, numbersInRange)
{
    EXPECT_EQ(parsed(V4L2_CID_BRIGHTNESS, "64"), 64);
    EXPECT_EQ(parsed(V4L2_CID_BRIGHTNESS, "-64"), -64);
    EXPECT_EQ(parsed(V4L2_CID_BRIGHTNESS, "0x10"), 16);
    for (const char *text : {"65", "-65", "4294967295", "-4294967295"})
        EXPECT_EQ(parsed(V4L2_CID_BRIGHTNESS, text), -ERANGE) << text;
    for (const char *text : {"", "-", "0x", "1.5", "1 ", "bright", "99999999999999999999"})
        EXPECT_EQ(parsed(V4L2_CID_BRIGHTNESS, text), -EINVAL) << text;
    EXPECT_EQ(refusalOf(V4L2_CID_BRIGHTNESS, "300"), "brightness takes -64 to 64, not 300");
    EXPECT_EQ(refusalOf(V4L2_CID_BRIGHTNESS, "high"), "brightness takes -64 to 64, not 'high'");
}

TEST(ControlValues, menusByNumberOrName)
{
    constexpr std::uint32_t id = V4L2_CID_EXPOSURE_AUTO;
    EXPECT_EQ(parsed(id, "3"), 3);
    EXPECT_EQ(parsed(id, "Aperture Priority Mode"), 3);
    EXPECT_EQ(parsed(id, "manual mode"), 1);
    EXPECT_EQ(parsed(id, "manual_mode"), 1);
    EXPECT_EQ(parsed(id, "2"), -ERANGE); // a gap
    EXPECT_EQ(parsed(id, "sunshine"), -EINVAL);
    EXPECT_EQ(parsed(id, ""), -EINVAL);
    EXPECT_EQ(refusalOf(id, "2"),
              "auto_exposure takes 1 (Manual Mode), 3 (Aperture Priority Mode), not 2");
    EXPECT_EQ(parsed(V4L2_CID_POWER_LINE_FREQUENCY, "50 Hz"), 1);
    EXPECT_EQ(parsed(V4L2_CID_POWER_LINE_FREQUENCY, "50"), -ERANGE);
}

TEST(ControlValues, menuOfNumbersMeansItsNames)
{
    Control menu;
    menu.name = "speed";
    menu.kind = ControlKind::Menu;
    menu.choices = {{0, "50"}, {1, "100"}};
    EXPECT_EQ(parseControlValue(menu, "100").value(), 1);
    EXPECT_EQ(parseControlValue(menu, "1").value(), 1);
}

TEST(ControlValues, switchesByWord)
{
    constexpr std::uint32_t id = V4L2_CID_AUTO_WHITE_BALANCE;
    for (const char *text : {"1", "on", "ON", "yes", "true"})
        EXPECT_EQ(parsed(id, text), 1) << text;
    for (const char *text : {"0", "off", "No", "false"})
        EXPECT_EQ(parsed(id, text), 0) << text;
    EXPECT_EQ(parsed(id, "2"), -ERANGE);
    EXPECT_EQ(refusalOf(id, "maybe"), "white_balance_automatic takes 0 or 1, not 'maybe'");
}

TEST(ControlValues, buttonsArePressed)
{
    EXPECT_EQ(parsed(V4L2_CID_AUTO_FOCUS_START, "1"), 1);
    EXPECT_EQ(parsed(V4L2_CID_AUTO_FOCUS_START, "now"), -EINVAL);
}

TEST(ControlValues, areShownWithTheirNames)
{
    EXPECT_EQ(controlValueText(control(V4L2_CID_BRIGHTNESS), 5), "5");
    EXPECT_EQ(controlValueText(control(V4L2_CID_POWER_LINE_FREQUENCY), 1), "1 (50 Hz)");
    EXPECT_EQ(controlValueText(control(V4L2_CID_POWER_LINE_FREQUENCY), 7), "7");
    EXPECT_EQ(controlRangeText(control(V4L2_CID_WHITE_BALANCE_TEMPERATURE)),
              "2800 to 6500 in steps of 10");
}
