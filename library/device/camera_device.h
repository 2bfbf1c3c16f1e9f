#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <memory>
#include <string>
#include <vector>

namespace korv {

/// Who a device is. `key` is the backend's own stable identity (a folder, a sysfs path); it tells
/// devices apart within a backend and never leaves the library.
struct DeviceIdentity
{
    std::string key;
    std::string name; ///< UTF-8, 1..63 bytes, no comma
    int vid = 0;
    int pid = 0;
    std::string node = {}; ///< /dev/video0; empty for a camera without a node
    std::string serial = {}; ///< serial number, UTF-8; may be empty
    std::string label = {}; ///< names the camera in the log: "/dev/video0 (Model)"
};

/// One picture size a device offers; `number` is the contract's res-no.
struct CaptureMode
{
    int number = 0;
    int width = 0;
    int height = 0;
};

/// One complete JPEG frame; borrowed for the duration of a call.
struct Frame
{
    ByteView jpeg;
    int width = 0;
    int height = 0;
};

/// Receives frames on the device's stream thread.
class FrameSink
{
public:
    virtual ~FrameSink() = default;
    virtual void onFrame(const Frame &frame) = 0;
};

/// An open camera. Life cycle: open -> start -> streaming -> stop -> open; destruction stops.
/// Calls come from one thread at a time.
class CameraDevice
{
public:
    virtual ~CameraDevice() = default;

    /// Largest first; never empty for an open device.
    virtual const std::vector<CaptureMode> &modes() const = 0;
    virtual int currentMode() const = 0;
    /// -EINVAL no such number, -EBUSY streaming.
    virtual Result<void> selectMode(int number) = 0;

    /// Starts streaming into `sink`, which is borrowed until stop() returned and must not call
    /// stop(). -EBUSY already streaming or held elsewhere, -ENODEV gone, -EIO refused.
    virtual Result<void> start(FrameSink &sink) = 0;
    /// Ends the stream; no onFrame runs after it returned. -EINVAL not streaming.
    virtual Result<void> stop() = 0;

    /// Hastens a stop() or destruction that follows: tells the device's threads to end and returns
    /// at once, so that several devices can end at the same time.
    virtual void prepareStop() { }
};

} // namespace korv
