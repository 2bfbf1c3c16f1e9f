#pragma once

#include "library/device/camera_device.h"
#include "library/jpeg/jpeg.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/wait.h"

#include <mutex>

namespace testing_support {

/// Keeps the latest frame and counts.
class FrameKeeper : public korv::FrameSink
{
public:
    void onFrame(const korv::Frame &frame) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_latest.assign(frame.jpeg.begin(), frame.jpeg.end());
        m_width = frame.width;
        m_height = frame.height;
        ++m_count;
    }

    int count() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    int width() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_width;
    }
    int height() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_height;
    }
    korv::Bytes latest() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_latest;
    }

    /// Waits until the colour in the middle of a frame is near `colour`.
    bool shows(const Colour &colour) const
    {
        return becomesTrue([&] {
            const auto picture = korv::jpeg::decode(latest());
            return picture && isNear(colourAtMiddle(picture.value()), colour, 12);
        });
    }

    static Colour colourAtMiddle(const korv::Image &picture)
    {
        return colourAt(picture, picture.width() / 2, picture.height() / 2);
    }

private:
    mutable std::mutex m_mutex;
    korv::Bytes m_latest;
    int m_width = 0;
    int m_height = 0;
    int m_count = 0;
};

} // namespace testing_support
