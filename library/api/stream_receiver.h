#pragma once

#include "library/api/settle_gate.h"
#include "library/device/camera_device.h"

#include <atomic>
#include <optional>
#include <string>
#include <utility>

namespace korv {

/// Hands a device's frames to the application's callback, on the device's stream thread.
class StreamReceiver : public FrameSink
{
public:
    using Callback = int (*)(void *data, int size, int width, int height);

    /// Which frames of the stream are handed on.
    enum class From { First, Settled };

    /// No call begins once `silent` is set. It is borrowed. `label` names the camera in the log.
    StreamReceiver(Callback callback, const std::atomic<bool> &silent, std::string label,
                   From from = From::First)
        : m_callback(callback)
        , m_silent(silent)
        , m_label(std::move(label))
    {
        if (from == From::Settled)
            m_gate.emplace();
    }

    /// A frame that is not smaller than its picture in 24-bit pixels is dropped: the receiver's
    /// buffer has just that size.
    void onFrame(const Frame &frame) override;

private:
    Callback m_callback;
    const std::atomic<bool> &m_silent;
    const std::string m_label;
    // of the stream thread
    std::optional<SettleGate> m_gate;
    bool m_reported = false;
};

} // namespace korv
