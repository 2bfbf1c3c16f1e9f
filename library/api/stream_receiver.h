#pragma once

#include "library/api/settle_gate.h"
#include "library/device/camera_device.h"

#include <atomic>
#include <optional>

namespace korv {

/// Hands a device's frames to the application's callback, on the device's stream thread.
class StreamReceiver : public FrameSink
{
public:
    using Callback = int (*)(void *data, int size, int width, int height);

    /// Which frames of the stream are handed on.
    enum class From { First, Settled };

    /// No call begins once `silent` is set. It is borrowed.
    StreamReceiver(Callback callback, const std::atomic<bool> &silent, From from = From::First)
        : m_callback(callback)
        , m_silent(silent)
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
    // of the stream thread
    std::optional<SettleGate> m_gate;
    bool m_reported = false;
};

} // namespace korv
