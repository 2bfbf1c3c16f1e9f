#pragma once

#include "cli/serve/escl/scanjobs.h"
#include "cli/serve/pagegeometry.h"

namespace cli {

/// Makes the JPEG that was asked for from a photograph, which is a JPEG too: turned, at the
/// resolution asked for, and cut to the region. `isSheet` says that the photograph is a sheet cut
/// out of the frame. Without a page, the outcome says why. Throws std::bad_alloc, cv::Exception.
ScanOutcome renderPage(const std::string &photograph, bool isSheet, const ScanSettings &settings,
                       int quality);

} // namespace cli
