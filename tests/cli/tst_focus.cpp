#include "cli/focus.h"

#include "cli/commands.h"
#include "tests/cli/live_stream.h"
#include "tests/cli/progress/pseudo_terminal.h"
#include "tests/library/fakes/fake_controls.h"
#include "tests/support/stdout_capture.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using cli::ExitCode;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::FakeControls;

/// The command with a made-up camera that streams.
class Focus : public support::LiveStream
{
protected:
    Focus()
    {
        m_camera.controls[V4L2_CID_FOCUS_AUTO] = {
            V4L2_CTRL_TYPE_BOOLEAN, "Focus, Automatic Continuous", 0, 1, 1, 1};
        m_camera.controls[V4L2_CID_FOCUS_ABSOLUTE] = {
            V4L2_CTRL_TYPE_INTEGER, "Focus, Absolute", 0, 250, 5, 0};
        m_camera.controls[V4L2_CID_FOCUS_ABSOLUTE].value = 120;
    }

    ExitCode run()
    {
        support::StdoutCapture output;
        testing::internal::CaptureStderr();
        ExitCode code = ExitCode::Failure;
        {
            cli::LibrarySession session(m_options);
            code = session.open();
            if (code == ExitCode::Success)
                code = cli::focusOf(session, m_options, {4, 1, 2, "Desk"}, m_camera.call());
        }
        m_errors = testing::internal::GetCapturedStderr();
        m_output = output.take();
        return code;
    }

    FakeControls m_camera;
    std::string m_output;
    std::string m_errors;
};

TEST_F(Focus, beginsAnewAndEndsWhenThePictureIsSharp)
{
    brighten(12);
    EXPECT_EQ(run(), ExitCode::Success) << m_errors;
    EXPECT_EQ(m_output, "focused  focus_absolute=120\n");
    EXPECT_THAT(m_camera.writes,
                ElementsAre("Focus, Automatic Continuous=0", "Focus, Automatic Continuous=1"));
    EXPECT_GE(m_sent, 13);
}

TEST_F(Focus, saysOnATerminalThatItTakesItsTime)
{
    brighten(45); // a second and a half
    const support::ScopedVariable kind("TERM", "xterm");
    const support::PseudoTerminal terminal(80);
    const auto onTerminal = [&] {
        const int before = dup(STDERR_FILENO);
        dup2(terminal.program(), STDERR_FILENO);
        cli::LibrarySession session(m_options);
        EXPECT_EQ(session.open(), ExitCode::Success);
        EXPECT_EQ(cli::focusOf(session, m_options, {4, 1, 2, "Desk"}, m_camera.call()),
                  ExitCode::Success);
        dup2(before, STDERR_FILENO);
        close(before);
    };
    const support::StdoutCapture output;
    onTerminal();
    const std::string shown = terminal.take();
    EXPECT_THAT(shown, HasSubstr("\x1b[Kfocusing, 0:01\r"));
    EXPECT_THAT(shown, EndsWith("\r\x1b[K")) << "the line goes";
}

TEST_F(Focus, isLockedAtItsEnd)
{
    brighten(0);
    m_options.lock = true;
    EXPECT_EQ(run(), ExitCode::Success) << m_errors;
    EXPECT_EQ(m_output, "locked  focus_absolute=120\n");
    EXPECT_EQ(m_camera.controls[V4L2_CID_FOCUS_AUTO].value, 0);
}

TEST_F(Focus, buttonForItIsPressedWhereThereIsOne)
{
    brighten(0);
    m_camera.controls.clear();
    m_camera.controls[V4L2_CID_AUTO_FOCUS_START] = {
        V4L2_CTRL_TYPE_BUTTON, "Auto Focus, Start", 0, 1, 0, 0, V4L2_CTRL_FLAG_WRITE_ONLY};
    EXPECT_EQ(run(), ExitCode::Success) << m_errors;
    EXPECT_EQ(m_output, "focused\n");
    EXPECT_THAT(m_camera.writes, ElementsAre("Auto Focus, Start=1"));
}

TEST_F(Focus, cameraWithoutItSaysSo)
{
    m_camera.controls = FakeControls::camera().controls;
    m_camera.controls.erase(V4L2_CID_AUTO_FOCUS_START);
    EXPECT_EQ(run(), ExitCode::Failure);
    EXPECT_EQ(m_errors,
              "korvcam: Desk has no automatic focus that can be controlled: neither "
              "focus_automatic_continuous nor auto_focus_start\n");
    EXPECT_THAT(m_camera.writes, IsEmpty());
}

TEST_F(Focus, refusalIsTold)
{
    brighten(0);
    m_camera.failures[VIDIOC_S_CTRL] = -EIO;
    EXPECT_EQ(run(), ExitCode::Failure);
    EXPECT_THAT(m_errors, HasSubstr("cannot set focus_automatic_continuous: Input/output error"));
}

TEST_F(Focus, cameraThatIsNoneOfTheKernelsHasNoControls)
{
    for (const cli::Command command : {cli::Command::Focus, cli::Command::Controls}) {
        m_options.command = command;
        testing::internal::CaptureStderr();
        EXPECT_EQ(cli::run(m_options), ExitCode::Failure);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "korvcam: Desk has no controls: it is no camera of the kernel's\n");
    }
}

} // namespace
