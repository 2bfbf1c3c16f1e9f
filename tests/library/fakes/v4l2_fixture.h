#pragma once

#include "library/device/v4l2/v4l2_device.h"
#include "tests/library/fakes/fake_v4l2.h"
#include "tests/library/support/frame_keeper.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/wait.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>

namespace testing_support {

/// A test with one fake camera, 320x240 and 64x48, that sends whole pictures.
class V4l2Fixture : public testing::Test
{
protected:
    V4l2Fixture()
    {
        m_calls->formats = {{V4L2_PIX_FMT_MJPEG, {{320, 240}, {64, 48}}, {}}};
        m_calls->otherwise(picture());
    }

    static korv::Bytes picture(Colour colour = {200, 60, 30})
    {
        return jpegOf(plainImage(320, 240, colour));
    }

    korv::Result<std::unique_ptr<korv::CameraDevice>> tryOpen()
    {
        return korv::V4l2Device::open(
            {m_calls, "/dev/video0", m_turn, [this](korv::V4l2Exit fate) { m_fates.push(fate); }},
            m_patience);
    }

    std::unique_ptr<korv::CameraDevice> opened()
    {
        auto device = tryOpen();
        EXPECT_TRUE(device);
        return device ? std::move(device).value() : nullptr;
    }

    bool isLeftClean() const
    {
        return becomesTrue(
            [this] { return m_calls->openDescriptors() == 0 && m_calls->mappings() == 0; });
    }

    bool getsFrames(int more = 1)
    {
        const int wanted = m_frames.count() + more;
        return becomesTrue([&] { return m_frames.count() >= wanted; });
    }

    /// What became of the camera, told from its own thread.
    class Fates
    {
    public:
        void push(korv::V4l2Exit fate)
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_all.push_back(fate);
        }
        void clear()
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_all.clear();
        }
        std::vector<korv::V4l2Exit> all() const
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            return m_all;
        }

    private:
        mutable std::mutex m_mutex;
        std::vector<korv::V4l2Exit> m_all;
    };

    bool isTold(korv::V4l2Exit fate) const
    {
        return becomesTrue([&] { return m_fates.all() == std::vector<korv::V4l2Exit>{fate}; });
    }

    std::shared_ptr<FakeV4l2> m_calls = std::make_shared<FakeV4l2>();
    std::shared_ptr<korv::NodeLease> m_turn = std::make_shared<korv::NodeLease>();
    korv::V4l2Patience m_patience;
    FrameKeeper m_frames;
    Fates m_fates;
};

/// Seconds that `work` took.
template <typename Work> double secondsOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace testing_support
