#include "cli/commands.h"

#include "tests/fakes/scripted_camera.h"
#include "tests/library/support/pictures.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

using cli::ExitCode;

/// Photographs of a stream that gets brighter at first.
class Settling : public testing::Test
{
protected:
    Settling()
    {
        fake_reset();
        fake_set_devices_json(R"([{"index":4,"name":"Desk","vid":6935,"pid":529}])");
        m_options.library = KORV_SCRIPTED_CAMERA;
        m_options.command = cli::Command::Snap;
        m_options.destination = (m_home.scratch() / "a.jpg").string();
        fake_set_hook([](const char *name, const char *,
                         void *context) { static_cast<Settling *>(context)->onCall(name); },
                      this);
    }
    ~Settling() override { fake_reset(); }

    /// Frames that came before the photograph was saved, the first `steps` of which differ.
    int framesUntilSaved(int steps)
    {
        for (int step = 0; step <= steps; ++step) {
            const int gray = 40 + step * 10;
            m_ramp.push_back(
                testing_support::jpegOf(testing_support::plainImage(64, 48, {gray, gray, gray})));
        }
        support::StdoutCapture output;
        EXPECT_EQ(cli::run(m_options), ExitCode::Success);
        return m_sent;
    }

    void onCall(const std::string &name)
    {
        if (name == "StartCapture")
            m_sender = std::thread([this] { send(); });
        if (name == "SaveVideoData")
            m_saved = true;
        if (name == "Close" && m_sender.joinable())
            m_sender.join();
    }

    void send()
    {
        // the callback is known only after the hook
        while (!m_saved) {
            const int next = std::min(m_sent.load(), static_cast<int>(m_ramp.size()) - 1);
            korv::Bytes &frame = m_ramp[static_cast<std::size_t>(next)];
            if (fake_emit_frame(frame.data(), static_cast<int>(frame.size()), 64, 48) >= 0)
                ++m_sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        }
    }

    support::TempHome m_home;
    cli::Options m_options;
    std::vector<korv::Bytes> m_ramp;
    std::atomic<int> m_sent{0};
    std::atomic<bool> m_saved{false};
    std::thread m_sender;
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
