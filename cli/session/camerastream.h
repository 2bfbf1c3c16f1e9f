#pragma once

#include "cli/session/framereceiver.h"
#include "cli/session/opendevice.h"
#include "cli/session/session.h"

namespace cli {

/// A camera that streams for one command: the receiver of its frames, the open device and the stream,
/// which end with the object in the right order. Thread: the main thread.
class CameraStream
{
public:
    /// Opens the camera; start() says whether that worked. All are borrowed.
    CameraStream(LibrarySession &session, const Device &device);

    /// Lets frames come. Says what went wrong.
    ExitCode start();

    /// The same for photographs: selects the resolution that the options ask for, if any, and hands
    /// quality, crop, rotation and colours to the library before.
    ExitCode startPhotographing(const Options &options);

    FrameReceiver &frames() { return m_frames; }

private:
    ExitCode checkOpened() const;
    ExitCode startOpened();
    ExitCode selectResolution(const Options &options) const;

    LibrarySession &m_session;
    const Device &m_device;
    FrameReceiver m_frames; // outlives the stream, which ends when the camera is closed
    const OpenDevice m_camera;
};

} // namespace cli
