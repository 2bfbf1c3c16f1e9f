#pragma once

#include "cli/serve/escl/scanjobs.h"
#include "cli/session/framereceiver.h"
#include "cli/session/opendevice.h"
#include "cli/session/session.h"

namespace cli {

/// A camera that streams its largest pictures; open as long as the object.
/// Thread: the session's.
class ScanStream
{
public:
    ScanStream(LibrarySession &session, const Device &device);

    /// Why nothing streams; without a reason when it does.
    const ScanOutcome &problem() const { return m_problem; }

    FrameReceiver &frames() { return m_receiver; }

private:
    ScanOutcome start(LibrarySession &session, const Device &device) const;

    FrameReceiver m_receiver;
    OpenDevice m_camera; // after the receiver: the stream ends first
    ScanOutcome m_problem;
};

/// What a refusal of the library means for a job.
ScanOutcome refusal(int result, const std::string &doing);

} // namespace cli
