#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"
#include "library/image/sheet_size.h"
#include "library/jpeg/jpeg.h"
#include "library/text/page_text.h"

#include <optional>

namespace korv {

struct PageLayers;

/// How pixels are coded that are no JPEG.
enum class PixelCoding {
    CcittG4, ///< two levels, see encodeCcittG4()
    Deflate, ///< see encodeDeflate()
    Png, ///< a PNG file
};

struct CodedPixels
{
    Bytes data;
    PixelCoding coding = PixelCoding::Png;
};

/// Codes a picture, without loss, the way its container stores it. Errors: -ENOMEM.
using PixelCoder = Result<CodedPixels> (*)(const Image &image, const Resolution &resolution);

/// One page as the document writers take it: a JPEG to be stored byte for byte, or coded pixels.
/// All of it belongs to whoever made the page.
struct Page
{
    ByteView jpeg; ///< complete file; empty for coded pixels
    jpeg::Info info; ///< of the JPEG
    ByteView profile; ///< ICC profile of the JPEG's colours, fit to be stored; empty: sRGB
    const Image *pixels = nullptr; ///< what is coded; null for a JPEG page
    ByteView coded;
    PixelCoding coding = PixelCoding::Png;
    int width = 0; ///< pixels
    int height = 0;
    Resolution resolution; ///< known
    const PageLayers *layers = nullptr; ///< in place of all of these, for writers that know layers
    std::optional<SheetSize> sheet; ///< the picture lies in its middle; none: it is the page
    const PageText *text = nullptr; ///< the writing on it as it lies here; null: not known
};

} // namespace korv
