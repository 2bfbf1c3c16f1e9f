#include "cli/commands.h"

#include "tests/cli/live_stream.h"
#include "tests/library/support/typed_page.h"
#include "tests/support/stdout_capture.h"

#include <gmock/gmock.h>

namespace {

using testing::MatchesRegex;

class PageFocus : public support::LiveStream
{
protected:
    PageFocus()
    {
        m_options.command = cli::Command::Scan;
        m_options.destination = (m_home.scratch() / "p%d.jpg").string();
        m_options.scanOn = cli::ScanOn::Interval;
        m_options.pages = 1;
    }

    /// Scans one page that is out of focus by so many pixels.
    void scanPage(double blur)
    {
        const korv::Image page = testing_support::typed(28);
        show(blur > 0 ? testing_support::blurred(page, blur) : page);
        support::StdoutCapture output;
        testing::internal::CaptureStderr();
        const cli::ExitCode code = cli::run(m_options);
        m_errors = testing::internal::GetCapturedStderr();
        m_output = output.take();
        EXPECT_EQ(code, cli::ExitCode::Success) << m_errors;
    }

    const support::ScopedVariable m_setting{"KORV_CAMERA_CHECK_FOCUS", std::nullopt};
    std::string m_output;
    std::string m_errors;
};

TEST_F(PageFocus, blurredPageIsNamed)
{
    scanPage(8);
    EXPECT_EQ(m_errors, "korvcam: page 1: out of focus; its writing is hard to read\n");
    EXPECT_THAT(m_output, MatchesRegex("1  [0-9:]{8}  1 kB  .*/p1.jpg\n"));
}

TEST_F(PageFocus, sharpPageIsNot)
{
    scanPage(0);
    EXPECT_EQ(m_errors, "");
}

TEST_F(PageFocus, blurredPageHasAnObjectOfItsOwnBehindItsOwn)
{
    m_options.json = true;
    scanPage(8);
    EXPECT_THAT(
        m_output,
        MatchesRegex("\\{\"page\":1,\"time\":.*\n\\{\"page\":1,\"out_of_focus\":true\\}\n"));
}

TEST_F(PageFocus, nobodyIsAskedWhenTheUserHasSwitchedItOff)
{
    const support::ScopedVariable setting("KORV_CAMERA_CHECK_FOCUS", "off");
    scanPage(8);
    EXPECT_EQ(m_errors, "");
}

// The scripted library writes the same photograph whatever it is given: that it is judged, and not
// the frame, shows in that nothing is found.
TEST_F(PageFocus, croppedPageIsJudgedWithoutWhatIsAroundIt)
{
    m_options.crop = 0;
    scanPage(8);
    EXPECT_EQ(m_errors, "");
}

TEST_F(PageFocus, lineartIsJudgedByItsFrame)
{
    m_options.crop = 0;
    m_options.color = 2;
    scanPage(8);
    EXPECT_THAT(m_errors, testing::HasSubstr("page 1: out of focus"));
}

} // namespace
