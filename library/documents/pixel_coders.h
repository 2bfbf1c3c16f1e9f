#pragma once

#include "library/documents/page.h"

namespace korv {

// Each is a PixelCoder. Two levels become one bit a pixel. Where CCITT G4 takes more than the bits
// themselves, as it does for dots, deflate takes its place.

Result<CodedPixels> codePixelsForPdf(const Image &image, const Resolution &resolution);
Result<CodedPixels> codePixelsForTiff(const Image &image, const Resolution &resolution);
Result<CodedPixels> codePixelsAsPng(const Image &image, const Resolution &resolution);

} // namespace korv
