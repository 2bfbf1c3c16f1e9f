#include "cli/controls.h"

#include "tests/library/fakes/fake_controls.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cli::ExitCode;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing_support::FakeControls;

/// The command with a made-up camera and settings of its own.
class Controls : public testing::Test
{
protected:
    ExitCode run(const std::vector<cli::ControlChange> &changes)
    {
        m_options.changes = changes;
        support::StdoutCapture output;
        testing::internal::CaptureStderr();
        ExitCode code = ExitCode::Failure;
        {
            cli::LibrarySession session(m_options);
            code = cli::controlsOf(session, m_options, m_device, m_camera.call());
        }
        m_errors = testing::internal::GetCapturedStderr();
        m_output = output.take();
        m_options.save = m_options.reset = false;
        return code;
    }

    std::string settings() const
    {
        return support::readFile(m_home.scratch() / "korv-camera.conf");
    }

    support::TempHome m_home;
    support::ScopedVariable m_userFolder{"XDG_CONFIG_HOME", m_home.scratch().string()};
    support::ScopedVariable m_system{"KORV_CAMERA_CONF", (m_home.scratch() / "none").string()};
    FakeControls m_camera = FakeControls::camera();
    cli::Device m_device{0, 0x1b17, 0x0211, "Cam", "/dev/video0", ""};
    cli::Options m_options;
    std::string m_output;
    std::string m_errors;
};

TEST_F(Controls, areListed)
{
    EXPECT_EQ(run({}), ExitCode::Success);
    EXPECT_EQ(
        m_output,
        "brightness=0  -64 to 64  default 0\n"
        "white_balance_automatic=1  0 or 1  default 1\n"
        "power_line_frequency=0 (Disabled)  0 (Disabled), 1 (50 Hz), 2 (60 Hz)  "
        "default 0 (Disabled)\n"
        "white_balance_temperature=4600  2800 to 6500 in steps of 10  default 4600  inactive\n"
        "auto_exposure=3 (Aperture Priority Mode)  1 (Manual Mode), 3 (Aperture Priority "
        "Mode)  default 3 (Aperture Priority Mode)\n"
        "exposure_time_absolute=250  3 to 2047  default 250  inactive\n"
        "auto_focus_start  button\n");
    EXPECT_EQ(m_errors, "");
    EXPECT_THAT(m_camera.writes, IsEmpty());
}

TEST_F(Controls, areObjectsWithJson)
{
    m_options.json = true;
    m_options.save = true;
    EXPECT_EQ(run({{"brightness", "5"}}), ExitCode::Success);
    EXPECT_EQ(m_output,
              "{\"name\":\"brightness\",\"value\":5}\n"
              "{\"saved\":1,\"model\":\"1b17:0211\"}\n");
    EXPECT_EQ(run({}), ExitCode::Success);
    EXPECT_THAT(m_output,
                HasSubstr("{\"name\":\"brightness\",\"type\":\"number\",\"value\":5,"
                          "\"minimum\":-64,\"maximum\":64,\"step\":1,\"default\":0,"
                          "\"read_only\":false,\"inactive\":false,\"saved\":\"5\"}\n"));
    EXPECT_THAT(m_output,
                HasSubstr("\"choices\":[{\"value\":0,\"name\":\"Disabled\"},"
                          "{\"value\":1,\"name\":\"50 Hz\"},"));
    EXPECT_THAT(m_output, HasSubstr("\"inactive\":true"));
}

TEST_F(Controls, areSetWithAutomaticsFirst)
{
    EXPECT_EQ(run({{"exposure_time_absolute", "100"}, {"auto_exposure", "manual_mode"}}),
              ExitCode::Success);
    EXPECT_THAT(m_camera.writes, ElementsAre("Auto Exposure=1", "Exposure Time, Absolute=100"));
    EXPECT_EQ(m_output, "auto_exposure=1 (Manual Mode)\nexposure_time_absolute=100\n");
    EXPECT_EQ(m_errors, "");
    EXPECT_FALSE(std::filesystem::exists(m_home.scratch() / "korv-camera.conf"));
}

TEST_F(Controls, buttonIsPressed)
{
    m_camera.controls[V4L2_CID_AUTO_FOCUS_START].maximum = 1;
    EXPECT_EQ(run({{"auto_focus_start", "1"}}), ExitCode::Success);
    EXPECT_EQ(m_output, "auto_focus_start  pressed\n");
}

TEST_F(Controls, oneMistakeSetsNothing)
{
    struct Mistake
    {
        cli::ControlChange change;
        std::string words;
    };
    m_camera.controls[V4L2_CID_POWER_LINE_FREQUENCY].flags = V4L2_CTRL_FLAG_READ_ONLY;
    const std::vector<Mistake> mistakes = {
        {{"brightnes", "5"}, "the camera has no control 'brightnes'; did you mean 'brightness'?"},
        {{"qqq", "5"}, "the camera has no control 'qqq'; `korvcam controls` lists those it has"},
        {{"brightness", "65"}, "brightness takes -64 to 64, not 65"},
        {{"power_line_frequency", "1"}, "power_line_frequency is read-only"},
        {{"exposure_time_absolute", "100"},
         "exposure_time_absolute is inactive while auto_exposure is 3 (Aperture Priority Mode); "
         "set that in the same command"},
    };
    for (const Mistake &mistake : mistakes) {
        EXPECT_EQ(run({{"white_balance_automatic", "0"}, mistake.change}), ExitCode::Failure);
        EXPECT_EQ(m_errors, "korvcam: " + mistake.words + "\n");
        EXPECT_EQ(m_output, "");
    }
    EXPECT_THAT(m_camera.writes, IsEmpty());
}

TEST_F(Controls, automaticThatStaysOnIsTold)
{
    EXPECT_EQ(run({{"auto_exposure", "3"}, {"exposure_time_absolute", "100"}}), ExitCode::Failure);
    EXPECT_THAT(m_errors, HasSubstr("exposure_time_absolute is inactive while auto_exposure is 3"));
}

TEST_F(Controls, driversRefusalIsTold)
{
    m_camera.failures[VIDIOC_S_CTRL] = -EBUSY;
    EXPECT_EQ(run({{"brightness", "5"}}), ExitCode::Failure);
    EXPECT_EQ(m_errors, "korvcam: brightness is in use by another program\n");
    m_camera.failures[VIDIOC_S_CTRL] = -EIO;
    EXPECT_EQ(run({{"brightness", "5"}}), ExitCode::Failure);
    EXPECT_EQ(m_errors, "korvcam: cannot set brightness: Input/output error\n");
}

TEST_F(Controls, cameraWithoutControlsSaysSo)
{
    m_camera.controls.clear();
    EXPECT_EQ(run({}), ExitCode::Failure);
    EXPECT_EQ(m_errors, "korvcam: Cam has no controls\n");
}

TEST_F(Controls, whatIsSetCanBeSavedForTheModel)
{
    m_options.save = true;
    EXPECT_EQ(run({{"brightness", "5"}, {"power_line_frequency", "60 Hz"}}), ExitCode::Success);
    EXPECT_EQ(m_output, "brightness=5\npower_line_frequency=2 (60 Hz)\nsaved 2 for 1b17:0211\n");
    EXPECT_EQ(settings(),
              "[camera 1b17:0211]\ncontrol.brightness = 5\ncontrol.power_line_frequency = 2\n");
    EXPECT_EQ(run({}), ExitCode::Success);
    EXPECT_THAT(m_output, HasSubstr("brightness=5  -64 to 64  default 0  saved 5\n"));
}

TEST_F(Controls, savingWithoutChangesKeepsWhatIsSetNow)
{
    m_options.save = true;
    EXPECT_EQ(run({}), ExitCode::Success);
    EXPECT_EQ(m_output, "saved 4 for 1b17:0211\n");
    // what an automatic rules has no value to keep
    EXPECT_THAT(settings(), HasSubstr("control.auto_exposure = 3\n"));
    EXPECT_THAT(settings(), Not(HasSubstr("exposure_time_absolute")));
    EXPECT_THAT(settings(), Not(HasSubstr("auto_focus_start")));
}

TEST_F(Controls, failedChangeSavesNothing)
{
    m_options.save = true;
    EXPECT_EQ(run({{"brightness", "500"}}), ExitCode::Failure);
    EXPECT_EQ(settings(), "");
}

TEST_F(Controls, buttonsAreNotSaved)
{
    m_camera.controls[V4L2_CID_AUTO_FOCUS_START].maximum = 1;
    m_options.save = true;
    EXPECT_EQ(run({{"auto_focus_start", "1"}}), ExitCode::Failure);
    EXPECT_EQ(m_errors, "korvcam: there is nothing to save: buttons have no value\n");
}

TEST_F(Controls, resetForgetsAndPutsTheDefaultsBack)
{
    m_options.save = true;
    ASSERT_EQ(run({{"auto_exposure", "1"}, {"exposure_time_absolute", "100"}, {"brightness", "5"}}),
              ExitCode::Success);
    m_camera.controls[V4L2_CID_AUTO_WHITE_BALANCE].value = 0; // set by hand, not saved
    m_options.reset = true;
    EXPECT_EQ(run({}), ExitCode::Success);
    EXPECT_EQ(m_output, "forgot 3 for 1b17:0211\n");
    EXPECT_EQ(m_errors, "");
    EXPECT_THAT(settings(), Not(HasSubstr("control.")));
    EXPECT_EQ(m_camera.controls[V4L2_CID_BRIGHTNESS].value, 0);
    EXPECT_EQ(m_camera.controls[V4L2_CID_EXPOSURE_AUTO].value, 3);
    EXPECT_EQ(m_camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE].value, 250);
    EXPECT_EQ(m_camera.controls[V4L2_CID_AUTO_WHITE_BALANCE].value, 0);
}

TEST_F(Controls, settingsThatCannotBeWrittenAreAFailure)
{
    std::filesystem::create_directories(m_home.scratch() / "korv-camera.conf");
    m_options.save = true;
    EXPECT_EQ(run({{"brightness", "5"}}), ExitCode::Failure);
    EXPECT_THAT(m_errors, HasSubstr("cannot change "));
}

} // namespace
