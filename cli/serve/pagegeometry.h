#pragma once

#include "cli/serve/escl/scansettings.h"

#include <string>
#include <vector>

namespace cli {

/// What is known of the camera that scans.
struct CameraFacts
{
    std::string name = "Document Camera"; ///< UTF-8
    int width = 0; ///< pixels of the largest mode; 0: not known yet
    int height = 0;
};

/// Resolutions and platen of a camera: A3 is offered where its long side gets 150 dpi, resolutions
/// up to the first that is not below what an A4 sheet that fills the picture has.
ScannerLimits limitsOf(const CameraFacts &camera);

/// A picture of a page, as the camera library made it.
struct PageShape
{
    int width = 0; ///< pixels
    int height = 0;
    bool isSheet = false; ///< cut out; otherwise the whole frame
};

/// How a picture becomes the scan that was asked for.
struct PagePlan
{
    bool rotate = false; ///< by 90 degrees, before anything else
    int width = 0; ///< pixels of the whole page at the resolution asked for
    int height = 0;
    ScanRegion window; ///< what of it is delivered, in pixels; never empty
};

/// Plans a scan. A camera cannot know how large a sheet is, so the sheet's size follows from the
/// request: a region as large as A3, A4, A5, letter or a card says that the sheet is one; with any
/// other region its shape decides between A4 and letter, and everything else has the long side of
/// an A4 sheet. A page that fits into the region only when turned is turned.
PagePlan planPage(const PageShape &page, const ScanSettings &settings);

} // namespace cli
