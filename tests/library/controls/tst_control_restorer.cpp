#include "library/controls/control_restorer.h"

#include "tests/library/fakes/fake_controls.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace korv;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::FakeControls;

namespace {

class Restorer : public testing::Test
{
protected:
    void restore(const SavedControls &saved, Appearance appearance = Appearance::PluggedIn)
    {
        testing::internal::CaptureStderr();
        ControlRestorer(std::nullopt, [this] {
            return m_now;
        }).restore(m_camera.call(), saved, appearance, "cam");
        m_log = testing::internal::GetCapturedStderr();
    }

    void adapt(std::optional<int> mainsHertz)
    {
        testing::internal::CaptureStderr();
        ControlRestorer(mainsHertz).adaptToMains(m_camera.call(), "cam");
        m_log = testing::internal::GetCapturedStderr();
    }

    std::int32_t valueOf(std::uint32_t id) { return m_camera.controls.at(id).value; }

    FakeControls m_camera = FakeControls::camera();
    ControlRestorer::TimePoint m_now{};
    std::string m_log;
};

} // namespace

TEST_F(Restorer, nothingSavedAsksNothing)
{
    restore({});
    EXPECT_EQ(m_camera.asked, 0);
}

TEST_F(Restorer, automaticsComeFirst)
{
    restore({{"exposure_time_absolute", "100"},
             {"white_balance_temperature", "5000"},
             {"auto_exposure", "Manual Mode"},
             {"white_balance_automatic", "off"}});
    EXPECT_THAT(m_camera.writes,
                ElementsAre("Auto Exposure=1", "White Balance, Automatic=0",
                            "Exposure Time, Absolute=100", "White Balance Temperature=5000"));
    EXPECT_EQ(m_log, "");
}

TEST_F(Restorer, whatHasNoEffectIsPassedOverInSilence)
{
    restore({{"exposure_time_absolute", "100"}, {"brightness", "5"}});
    EXPECT_THAT(m_camera.writes, ElementsAre("Brightness=5"));
    EXPECT_EQ(m_log, "");
}

TEST_F(Restorer, whatIsSetAlreadyIsNotSetAgain)
{
    m_camera.controls[V4L2_CID_BRIGHTNESS].value = 5;
    restore({{"brightness", "5"}}, Appearance::Found);
    EXPECT_THAT(m_camera.writes, IsEmpty());
}

TEST_F(Restorer, cameraThatWasPluggedInIsNotAskedForValues)
{
    restore({{"brightness", "5"}, {"auto_exposure", "1"}, {"exposure_time_absolute", "100"}});
    EXPECT_THAT(m_camera.writes,
                ElementsAre("Auto Exposure=1", "Brightness=5", "Exposure Time, Absolute=100"));
    EXPECT_EQ(m_camera.requests[VIDIOC_G_CTRL], 0);
}

TEST_F(Restorer, ofACameraThatWasFoundOnlySavedValuesAreAskedFor)
{
    restore({{"brightness", "5"}}, Appearance::Found);
    EXPECT_EQ(m_camera.requests[VIDIOC_G_CTRL], 1);
}

TEST_F(Restorer, whatAnAutomaticLeavesBehindIsNobodys)
{
    const ControlCall call = [this](unsigned long request, void *argument) {
        const int result = m_camera.ask(request, argument);
        if (!m_camera.writes.empty() && m_camera.writes.back() == "Auto Exposure=1")
            m_camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE].value = 333;
        return result;
    };
    ControlRestorer(std::nullopt)
        .restore(call, {{"auto_exposure", "1"}, {"exposure_time_absolute", "9"}}, Appearance::Found,
                 "cam");
    EXPECT_THAT(m_camera.writes, ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=9"));
}

TEST_F(Restorer, onlySavedControlsAreAskedFor)
{
    // the last in the driver's order
    restore({{"auto_exposure", "1"}, {"exposure_time_absolute", "9"}});
    EXPECT_THAT(m_camera.writes, ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=9"));
    // to be found, and to see that it is active
    EXPECT_EQ(m_camera.requests[VIDIOC_QUERYCTRL], 4);
}

TEST_F(Restorer, controlsUnderNamesOrIdsOfTheDriversOwnAreFound)
{
    m_camera.controls[V4L2_CID_BRIGHTNESS].title = "Lamp";
    m_camera.controls[V4L2_CID_PRIVATE_BASE] = m_camera.controls[V4L2_CID_BRIGHTNESS];
    m_camera.controls[V4L2_CID_PRIVATE_BASE].title = "Brightness";
    restore({{"brightness", "5"}, {"lamp", "6"}});
    EXPECT_THAT(m_camera.writes, ElementsAre("Brightness=5", "Lamp=6"));
    EXPECT_EQ(m_log, "");
}

TEST_F(Restorer, noControlIsAskedForBehindTheLastSavedOne)
{
    restore({{"brightness", "5"}, {"white_balance_automatic", "0"}});
    EXPECT_THAT(m_camera.writes, ElementsAre("White Balance, Automatic=0", "Brightness=5"));
    // to be found, and to see that it is active
    EXPECT_EQ(m_camera.requests[VIDIOC_QUERYCTRL], 4);
}

TEST_F(Restorer, valueThatSomebodySetIsLeftAlone)
{
    m_camera.controls[V4L2_CID_BRIGHTNESS].value = 7;
    restore({{"brightness", "5"}, {"white_balance_automatic", "0"}}, Appearance::Found);
    EXPECT_THAT(m_camera.writes, ElementsAre("White Balance, Automatic=0"));
    EXPECT_EQ(valueOf(V4L2_CID_BRIGHTNESS), 7);
}

TEST_F(Restorer, valuesThatACameraWokeUpWithAreNobodys)
{
    m_camera.controls[V4L2_CID_BRIGHTNESS].value = 7;
    restore({{"brightness", "5"}}, Appearance::PluggedIn);
    EXPECT_EQ(valueOf(V4L2_CID_BRIGHTNESS), 5);
}

TEST_F(Restorer, whatCannotBeSetIsToldAndTheRestIsSet)
{
    m_camera.controls[V4L2_CID_AUTO_WHITE_BALANCE].flags = V4L2_CTRL_FLAG_READ_ONLY;
    restore({{"gamma", "1"},
             {"power_line_frequency", "9"},
             {"auto_focus_start", "1"},
             {"white_balance_automatic", "0"},
             {"brightness", "5"}});
    EXPECT_THAT(m_camera.writes, ElementsAre("Brightness=5"));
    EXPECT_EQ(m_log,
              "korvcamera: warning: cam: saved control auto_focus_start cannot be set\n"
              "korvcamera: warning: cam: saved control gamma: the camera has none of that name\n"
              "korvcamera: warning: cam: saved control power_line_frequency takes 0 (Disabled), 1 "
              "(50 Hz), "
              "2 (60 Hz), not 9\n"
              "korvcamera: warning: cam: saved control white_balance_automatic cannot be set\n");
}

TEST_F(Restorer, driversRefusalIsTold)
{
    m_camera.failures[VIDIOC_S_CTRL] = -EIO;
    restore({{"brightness", "5"}});
    EXPECT_EQ(m_log, "korvcamera: warning: cam: saved control brightness: Input/output error\n");
}

TEST_F(Restorer, cameraThatGoesMeanwhileIsNotReported)
{
    m_camera.failures[VIDIOC_S_CTRL] = -ENODEV;
    restore({{"brightness", "5"}, {"white_balance_automatic", "0"}});
    EXPECT_EQ(m_log, "");
}

TEST_F(Restorer, cameraThatDoesNotAnswerIsAskedOnce)
{
    // each question takes the driver's five seconds
    int asked = 0;
    testing::internal::CaptureStderr();
    const bool answers = ControlRestorer(std::nullopt, [this] { return m_now; })
                             .restore(
                                 [&](unsigned long, void *) {
                                     ++asked;
                                     m_now += 5s;
                                     return -EIO;
                                 },
                                 {{"brightness", "5"}}, Appearance::PluggedIn, "cam");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "korvcamera: warning: cam: the camera does not answer; its saved controls are not set\n");
    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(answers);
}

TEST_F(Restorer, mainsFrequencyFollowsTheCountry)
{
    adapt(50);
    EXPECT_EQ(valueOf(V4L2_CID_POWER_LINE_FREQUENCY), 1);
    m_camera.controls[V4L2_CID_POWER_LINE_FREQUENCY].value = 0;
    adapt(60);
    EXPECT_EQ(valueOf(V4L2_CID_POWER_LINE_FREQUENCY), 2);
    EXPECT_EQ(m_log, "");
}

TEST_F(Restorer, automaticMainsFrequencyIsPreferred)
{
    m_camera.controls[V4L2_CID_POWER_LINE_FREQUENCY].maximum = 3;
    m_camera.controls[V4L2_CID_POWER_LINE_FREQUENCY].menu[3] = "Auto";
    adapt(50);
    EXPECT_EQ(valueOf(V4L2_CID_POWER_LINE_FREQUENCY), 3);
}

TEST_F(Restorer, mainsFrequencyThatSomebodySetStays)
{
    m_camera.controls[V4L2_CID_POWER_LINE_FREQUENCY].value = 2;
    adapt(50);
    EXPECT_EQ(valueOf(V4L2_CID_POWER_LINE_FREQUENCY), 2);
    EXPECT_THAT(m_camera.writes, IsEmpty());
}

TEST_F(Restorer, unknownCountryChangesNothing)
{
    adapt(std::nullopt);
    EXPECT_THAT(m_camera.writes, IsEmpty());
    m_camera.controls.erase(V4L2_CID_POWER_LINE_FREQUENCY);
    adapt(50);
    EXPECT_THAT(m_camera.writes, IsEmpty());
}
