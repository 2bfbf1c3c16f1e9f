#pragma once

#include "library/base/result.h"
#include "library/imaging/jpeg_structure.h"
#include "library/output/page.h"

#include <string>

namespace korv {

struct PageOptions
{
    int quality = 95; ///< 1..100; a JPEG that is not finer than this enters as it is
    bool plainJpegOnly = false; ///< the container wants baseline JPEG with ordinary sampling
};

/// Turns picture files and pixels into pages. A page stays valid until the next one is made; the
/// memory is used again for it.
class PageMaker
{
public:
    explicit PageMaker(const PageOptions &options)
        : m_options(options)
    {
    }

    /// Errors: as readSourceFile() and loadImage().
    Result<Page> fromFile(const std::string &path);

    /// Errors: as jpeg::encode().
    Result<Page> fromImage(const Image &image);

private:
    Result<Page> fromJpeg(const jpeg::Structure &structure);
    Result<Page> encoded(const Image &image, jpeg::Subsampling subsampling);
    Result<Page> jpegPage(ByteView jpeg);
    bool mayStay(const jpeg::Structure &structure) const;

    PageOptions m_options;
    Bytes m_content;
    Bytes m_jpeg;
    Image m_image;
};

} // namespace korv
