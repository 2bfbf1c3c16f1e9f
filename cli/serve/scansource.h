#pragma once

#include "cli/serve/escl/scanjobs.h"
#include "cli/serve/pagegeometry.h"
#include "cli/session/framereceiver.h"
#include "cli/session/session.h"

namespace cli {

/// The camera as what a scanner needs of it. It is open only during a call.
/// Thread: the session's.
class ScanSource
{
public:
    /// Both are borrowed. `options`: camera, crop, quality, timeout.
    ScanSource(LibrarySession &session, const Options &options);

    /// Looks at the camera. Nothing when it cannot be opened now.
    std::optional<CameraFacts> lookAtCamera();

    /// Takes a photograph and makes a scan of it. The camera is closed when this returns.
    ScanOutcome scan(const ScanSettings &settings);

private:
    std::optional<Device> findDevice();
    ScanOutcome photograph(const Device &device, const ScanSettings &settings);
    ScanOutcome save(const ScanSettings &settings, ReceivedFrame &frame);
    std::string setOptions(const ScanSettings &settings);

    LibrarySession &m_session;
    const Options &m_options;
};

} // namespace cli
