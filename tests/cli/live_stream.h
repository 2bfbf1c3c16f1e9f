#pragma once

#include "cli/commandline/options.h"
#include "tests/fakes/scripted_camera.h"
#include "tests/library/support/pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace support {

/// A test with a scripted camera that streams, 33 frames a second, the pictures that it was given.
class LiveStream : public testing::Test
{
protected:
    LiveStream()
    {
        fake_reset();
        fake_set_devices_json(R"([{"index":4,"name":"Desk","vid":6935,"pid":529}])");
        m_options.library = KORV_SCRIPTED_CAMERA;
        fake_set_hook([](const char *name, const char *,
                         void *context) { static_cast<LiveStream *>(context)->onCall(name); },
                      this);
    }
    ~LiveStream() override { fake_reset(); }

    /// The first `steps` frames differ, those that follow do not.
    void brighten(int steps)
    {
        for (int step = 0; step <= steps; ++step) {
            const int gray = 40 + step * 10;
            show(testing_support::plainImage(64, 48, {gray, gray, gray}));
        }
    }

    /// The next picture, of the same size as the others; the last one stays.
    void show(const korv::Image &picture)
    {
        m_width = picture.width();
        m_height = picture.height();
        m_pictures.push_back(testing_support::jpegOf(picture));
    }

    TempHome m_home;
    cli::Options m_options;
    std::atomic<int> m_sent{0}; ///< frames, until the stream ended or a photograph was saved

private:
    void onCall(const std::string &name)
    {
        if (name == "StartCapture")
            m_sender = std::thread([this] { send(); });
        if (name == "SaveVideoData" || name == "Close")
            m_ended = true;
        if (name == "Close" && m_sender.joinable())
            m_sender.join();
    }

    void send()
    {
        while (!m_ended) {
            const int next = std::min(m_sent.load(), static_cast<int>(m_pictures.size()) - 1);
            korv::Bytes &frame = m_pictures[static_cast<std::size_t>(next)];
            // none before the callback is known, which is after the hook
            if (fake_emit_frame(frame.data(), static_cast<int>(frame.size()), m_width, m_height)
                >= 0)
                ++m_sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        }
    }

    std::vector<korv::Bytes> m_pictures;
    int m_width = 0;
    int m_height = 0;
    std::atomic<bool> m_ended{false};
    std::thread m_sender;
};

} // namespace support
