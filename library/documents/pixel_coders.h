#pragma once

#include "library/documents/page.h"

namespace korv {

// Each is a PixelCoder. Two levels become one bit a pixel. Where CCITT G4 takes more than the bits
// themselves, as it does for dots, deflate takes its place.

Result<CodedPixels> codePixelsForPdf(const Image &image, double dpi);
Result<CodedPixels> codePixelsForTiff(const Image &image, double dpi);
Result<CodedPixels> codePixelsAsPng(const Image &image, double dpi);

} // namespace korv
