#include "cli/serve/scansource.h"

#include "tests/fakes/scripted_camera.h"

#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

using Clock = std::chrono::steady_clock;

constexpr char kDesk[] = R"([{"index":4,"name":"Desk","vid":6935,"pid":529}])";
constexpr char kDeskAgain[] = R"([{"index":0,"name":"Desk","vid":6935,"pid":529}])";

/// A camera that answers but never sends a frame, unless a test sends one.
class ScanSourceTest : public testing::Test
{
protected:
    ScanSourceTest()
    {
        fake_reset();
        fake_set_devices_json(kDesk);
        m_options.library = KORV_SCRIPTED_CAMERA;
        m_options.timeoutMs = 60'000;
    }
    ~ScanSourceTest() override { fake_reset(); }

    /// Unplugs the camera, and may plug one in, when the scan has been waiting for a while.
    void replug(const char *devices)
    {
        m_hand = std::thread([devices] {
            std::this_thread::sleep_for(300ms);
            fake_set_devices_json(devices);
        });
    }

    cli::ScanOutcome scan()
    {
        cli::LibrarySession session(m_options);
        EXPECT_EQ(session.open(), cli::ExitCode::Success);
        cli::ScanSource source(session, m_options);
        const auto begun = Clock::now();
        cli::ScanOutcome outcome = source.scan({});
        m_took = Clock::now() - begun;
        if (m_hand.joinable())
            m_hand.join();
        return outcome;
    }

    cli::Options m_options;
    Clock::duration m_took{};

private:
    std::thread m_hand;
};

TEST_F(ScanSourceTest, anUnpluggedCameraEndsTheScanAtOnce)
{
    replug("[]");
    const cli::ScanOutcome outcome = scan();
    EXPECT_EQ(outcome.reason, "the camera was unplugged");
    EXPECT_FALSE(outcome.isBusy);
    EXPECT_LT(m_took, 5s);
    EXPECT_THAT(fake_calls(), HasSubstr("Close(4)"));
}

TEST_F(ScanSourceTest, aCameraThatComesBackIsAnotherOne)
{
    replug(kDeskAgain);
    EXPECT_EQ(scan().reason, "the camera was unplugged");
}

TEST_F(ScanSourceTest, aSilentCameraIsWaitedForUntilTheTimeOut)
{
    m_options.timeoutMs = 500;
    EXPECT_EQ(scan().reason, "the camera sent no picture");
    EXPECT_GE(m_took, 500ms);
}

TEST_F(ScanSourceTest, aCameraIsThereWhileItIsTheOneAskedFor)
{
    cli::LibrarySession session(m_options);
    ASSERT_EQ(session.open(), cli::ExitCode::Success);
    const cli::ScanSource source(session, m_options);
    EXPECT_TRUE(source.hasCamera());
    m_options.device = "5";
    EXPECT_FALSE(source.hasCamera());
    m_options.device = "1b17:0211";
    EXPECT_TRUE(source.hasCamera());
    fake_set_devices_json("[]");
    EXPECT_FALSE(source.hasCamera());
}

} // namespace
