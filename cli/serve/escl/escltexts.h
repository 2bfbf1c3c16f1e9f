#pragma once

#include "cli/serve/escl/scanjobs.h"
#include "cli/serve/escl/scansettings.h"

#include <string>
#include <vector>

namespace cli {

/// What a scanner says about itself to every client.
struct ScannerIdentity
{
    std::string name; ///< UTF-8, as the user sees it
    std::string uuid; ///< stays the same for a camera on this machine
};

/// What a scanner does at the moment. Stopped: it cannot scan until somebody helps it.
enum class ScannerState { Idle, Processing, Stopped };

/// The documents that the eSCL protocol defines, in the version that it calls 2.63.
std::string capabilitiesXml(const ScannerIdentity &identity, const ScannerLimits &limits);
std::string statusXml(const std::vector<ScanJobs::Status> &jobs, ScannerState state,
                      bool hasFeeder);
std::string imageInfoXml(const std::string &jobId, const ScannedPage &page);

/// The path below which everything lies, without a slash at its end.
inline constexpr char kEsclRoot[] = "/eSCL";

} // namespace cli
