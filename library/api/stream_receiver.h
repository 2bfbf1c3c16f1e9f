#pragma once

#include "library/device/camera_device.h"

namespace korv {

/// Hands a device's frames to the application's callback, on the device's stream thread.
class StreamReceiver : public FrameSink
{
public:
    using Callback = int (*)(void *data, int size, int width, int height);

    explicit StreamReceiver(Callback callback)
        : m_callback(callback)
    {
    }

    /// A frame that is not smaller than its picture in 24-bit pixels is dropped: the receiver's
    /// buffer has just that size.
    void onFrame(const Frame &frame) override;

private:
    Callback m_callback;
    bool m_reported = false; // of the stream thread
};

} // namespace korv
