#pragma once

#include "library/base/result.h"
#include "library/imaging/jpeg_structure.h"
#include "library/output/page.h"

#include <mutex>
#include <string>

namespace korv {

/// Codes a page of two levels the way its container stores it.
using LineartCoder = Result<Bytes> (*)(const Page &page);

struct PageOptions
{
    int quality = 95; ///< 1..100; a JPEG that is not finer than this enters as it is
    bool plainJpegOnly = false; ///< the container wants baseline JPEG with ordinary sampling
    LineartCoder codeLineart = nullptr; ///< null leaves it to the writer
    std::mutex *largePictures =
        nullptr; ///< makers that share it decode one large picture at a time
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
    Result<Page> fromContent();
    Result<Page> lineartPage(const Image &image);
    Result<Page> encoded(const Image &image, jpeg::Subsampling subsampling);
    Result<Page> jpegPage(ByteView jpeg);

    PageOptions m_options;
    Bytes m_content;
    Bytes m_coded; ///< a JPEG or a coded lineart
    Image m_image;
};

} // namespace korv
