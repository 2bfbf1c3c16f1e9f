#pragma once

#include "library/base/result.h"
#include "library/documents/page.h"
#include "library/documents/page_layers.h"
#include "library/export/document_text.h"
#include "library/jpeg/jpeg_structure.h"
#include "library/threads/mutex.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace korv {

struct PageOptions
{
    int quality = 95; ///< 1..100; a JPEG that is not finer than this enters as it is. At 100 pixels
        ///< that come from no JPEG enter without loss, otherwise they become JPEG
    bool plainJpegOnly = false; ///< the container wants baseline JPEG with ordinary sampling
    PixelCoder codePixels = nullptr; ///< of the container
    std::optional<SheetSize> sheet; ///< the pages are such sheets, upright or across
    Mutex *largePictures = nullptr; ///< makers that share it decode one large picture at a time
    bool clean = false; ///< even out the light on the pages
    DocumentText *text = nullptr; ///< where the pages' text comes from; borrowed; null: none
    bool compact = false; ///< store pages of writing in layers where that is clearly smaller
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

    /// The first page of a file. Errors: as readSourceFile() and loadImage().
    Result<Page> fromFile(const std::string &path);

    /// The page whose directory stands there in a TIFF. Errors: as loadImage().
    /// `path` is the file's name for the log.
    Result<Page> fromTiff(std::shared_ptr<const Bytes> content, std::uint64_t directory,
                          const std::string &path);

    /// Borrows the image for as long as the page. Errors: as jpeg::encode().
    Result<Page> fromImage(const Image &image);

private:
    Turn turnOf(const jpeg::Info &info) const;
    Result<Image> load(ByteView content, std::uint64_t directory) const;
    void cleanIfWanted(Image &image) const;
    Result<Page> madeOf(const Image &image);
    Result<Page> fromJpeg(const jpeg::Structure &structure);
    Result<Page> fromContent(ByteView content, std::uint64_t directory);
    Result<Page> pixelPage(const Image &image);
    Result<Page> encoded(const Image &image, jpeg::Subsampling subsampling);
    Result<Page> jpegPage(ByteView jpeg, const Resolution &source);
    void place(Page &page, const Resolution &stated) const;
    bool hasReader() const;
    Result<Page> readPage(ByteView content, std::uint64_t directory, const std::string &name);
    Result<Page> turned(ByteView content, std::uint64_t directory, const std::string &name);
    Page withText(Page page) const;
    Result<Page> compactIfWanted(Result<Page> page, const Image &image);
    Result<Page> reusedPage(ByteView jpeg, const jpeg::Info &info);

    PageOptions m_options;
    Bytes m_content;
    std::shared_ptr<const Bytes> m_shared;
    Bytes m_coded; ///< a JPEG or coded pixels
    Bytes m_profile;
    Image m_image;
    TextRecogniser::Text m_text; ///< on the page; null: none, or nobody asked
    Rotation m_turn = Rotation::None; ///< from how the file says that the page lies
    PageLayers m_layers;
};

} // namespace korv
