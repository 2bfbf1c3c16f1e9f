#pragma once

#include "cli/serve/escl/scanjobs.h"
#include "cli/serve/pagegeometry.h"
#include "cli/serve/scanstream.h"
#include "cli/session/framereceiver.h"
#include "cli/session/session.h"

#include <functional>

namespace cli {

/// The client of a hands-free scan. Its functions are called on the session's thread.
struct FeederClient
{
    std::function<ScanJobs::Feeding()> feeding;
    std::function<void(ScannedPagePointer)> deliver;
    std::function<void()> rest; ///< called between pictures, often; for what else is to be done
};

/// The camera as what a scanner needs of it. It is open only during a call.
/// Thread: the session's.
class ScanSource
{
public:
    /// Both are borrowed. `options`: camera, crop, quality, timeout.
    ScanSource(LibrarySession &session, const Options &options);

    /// Looks at the camera. Nothing when it cannot be opened now.
    std::optional<CameraFacts> lookAtCamera();

    /// Whether the camera is plugged in at this moment. Any thread.
    bool hasCamera() const;

    /// Takes a photograph and makes a scan of it. The camera is closed when this returns.
    ScanOutcome scan(const ScanSettings &settings);

    /// Delivers the page that lies there and each one that is turned, until the client wants no more
    /// or all has been still for the time of stillness. The outcome has no page of its own. The camera
    /// is closed when this returns.
    ScanOutcome feed(const ScanSettings &settings, const FeederClient &client);

private:
    std::optional<Device> findDevice();
    ScanOutcome photograph(const Device &device, const ScanSettings &settings);
    ScanOutcome watchTurns(ScanStream &stream, const ScanSettings &settings,
                           const FeederClient &client);
    ScanOutcome makePage(const ScanSettings &settings, ReceivedFrame &frame);
    ScanOutcome save(const ScanSettings &settings, ReceivedFrame &frame);
    std::string setOptions(const ScanSettings &settings);

    LibrarySession &m_session;
    const Options &m_options;
};

} // namespace cli
