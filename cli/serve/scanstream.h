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

    /// Sleeps until there is news for the session: another frame than the `seen` first ones, or
    /// whatever wakes it. The text says why no frame will come: none came until `deadline`, the
    /// camera has been unplugged, or the program is to stop. Empty: one may.
    std::string await(unsigned long seen, Wakeup::Clock::time_point deadline);

private:
    ScanOutcome start(const Device &device) const;
    bool isPluggedIn() const;

    LibrarySession &m_session;
    const int m_index;
    FrameReceiver m_receiver;
    OpenDevice m_camera; // after the receiver: the stream ends first
    ScanOutcome m_problem;
};

/// What a refusal of the library means for a job.
ScanOutcome refusal(int result, const std::string &doing);

} // namespace cli
