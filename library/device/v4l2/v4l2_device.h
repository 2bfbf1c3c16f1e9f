#pragma once

#include "library/device/camera_device.h"
#include "library/device/v4l2/v4l2_work.h"

#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace korv {

/// How long the device waits for its camera's thread. What a camera does not answer in this time
/// goes on without the caller.
struct V4l2Patience
{
    std::chrono::milliseconds open{1500};
    std::chrono::milliseconds start{500};
    std::chrono::milliseconds stop{500};
};

/// A real camera. No call waits longer than V4l2Patience says, even if the driver hangs; a thread
/// that hangs there is detached and ends when the driver returns.
class V4l2Device : public CameraDevice
{
public:
    /// -ENODEV gone or not a camera, -EACCES, -EBUSY, -ETIMEDOUT the camera does not answer.
    static Result<std::unique_ptr<CameraDevice>> open(V4l2Access access, V4l2Patience patience);

    V4l2Device(std::shared_ptr<V4l2Work> work, std::thread thread, std::vector<V4l2Mode> modes,
               V4l2Patience patience);
    ~V4l2Device() override;

    const std::vector<CaptureMode> &modes() const override { return m_modes; }
    int currentMode() const override { return m_current; }
    Result<void> selectMode(int number) override;
    /// Also -EIO the camera refuses. Success when a slow camera has not answered yet.
    Result<void> start(FrameSink &sink) override;
    Result<void> stop() override;
    void prepareStop() override;

private:
    const std::shared_ptr<V4l2Work> m_work;
    std::thread m_thread;
    const std::vector<V4l2Mode> m_nodeModes;
    std::vector<CaptureMode> m_modes;
    int m_current = 0;
    const V4l2Patience m_patience;
    std::shared_ptr<CallGate<FrameSink>> m_sink; ///< null: not streaming
    std::optional<V4l2Work::Deadline> m_stopDeadline; ///< set when the camera was told to stop
};

} // namespace korv
