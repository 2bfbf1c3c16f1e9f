#include "cli/commands.h"

#include "tests/cli/live_stream.h"
#include "tests/support/stdout_capture.h"

namespace {

class Settling : public support::LiveStream
{
protected:
    /// Frames that came before the photograph was saved.
    int framesUntilSaved(int steps)
    {
        brighten(steps);
        m_options.command = cli::Command::Snap;
        m_options.destination = (m_home.scratch() / "a.jpg").string();
        support::StdoutCapture output;
        EXPECT_EQ(cli::run(m_options), cli::ExitCode::Success);
        return m_sent;
    }
};

TEST_F(Settling, isWaitedFor)
{
    EXPECT_GE(framesUntilSaved(12), 13);
}

TEST_F(Settling, takesThreeFramesOfASettledPicture)
{
    EXPECT_GE(framesUntilSaved(0), 3);
}

TEST_F(Settling, isNotWaitedForWhenNotWanted)
{
    m_options.settle = false;
    EXPECT_LT(framesUntilSaved(12), 13);
}

} // namespace
