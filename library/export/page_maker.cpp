#include "library/export/page_maker.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/clean/clean_paper.h"
#include "library/compact/compact_page.h"
#include "library/export/image_loader.h"
#include "library/files/source_file.h"
#include "library/image/colour_profile.h"
#include "library/image/resolution.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg_segments.h"
#include "library/jpeg/rework/jpeg_reuse.h"
#include "library/jpeg/rework/jpeg_transform.h"

#include <algorithm>
#include <utility>

namespace korv {

namespace {

constexpr std::int64_t kLargePicture = 40'000'000; ///< pixels
constexpr int kLossless = 100; ///< quality at which pixels stay what they are
constexpr std::size_t kClearly = 2; ///< layers are to take at most one part of so many

/// Chooses the resolution at which the picture just fits on its sheet, which is turned to suit it.
void fitToSheet(Page &page)
{
    constexpr double kInch = 25.4;
    const double dotShape = page.resolution.y / page.resolution.x; ///< 1: as wide as high
    if ((page.width * dotShape > page.height) != (page.sheet->width > page.sheet->height))
        std::swap(page.sheet->width, page.sheet->height);
    const double across = std::max(page.width * kInch / page.sheet->width,
                                   page.height * kInch / (page.sheet->height * dotShape));
    page.resolution = {across, across * dotShape};
}

} // namespace

Turn PageMaker::turnOf(const jpeg::Info &info) const
{
    return Turn::ofOrientation(info.orientation).then(Turn::of(m_turn));
}

/// As the page is to lie.
Result<Image> PageMaker::load(ByteView content, std::uint64_t directory) const
{
    Result<Image> image = loadImage(content, directory);
    if (!image || m_turn == Rotation::None)
        return image;
    return rotate(std::move(image).value(), m_turn);
}

void PageMaker::place(Page &page, const Resolution &stated) const
{
    page.sheet = m_options.sheet;
    page.resolution = effectiveResolution(page.width, page.height, stated);
    if (page.sheet)
        fitToSheet(page);
}

void PageMaker::cleanIfWanted(Image &image) const
{
    if (!m_options.clean)
        return;
    HelperThread core;
    cleanPaper(image, core);
}

/// The page in layers, where they are clearly smaller than the page. Trouble with them costs the page
/// nothing. `image` shows the page.
Result<Page> PageMaker::compactIfWanted(Result<Page> page, const Image &image)
{
    if (!m_options.compact || !page || image.width() != page.value().width
        || image.height() != page.value().height)
        return page;
    Result<std::optional<PageLayers>> layers = exceptionsToErrors([&] {
        HelperThread core;
        return takeApart(image, m_options.quality, core);
    });
    if (!layers) {
        logLine(LogLevel::Warning, "a page is not made compact", layers.error().text);
        return page;
    }
    const std::size_t whole = page.value().jpeg.size + page.value().coded.size;
    if (!layers.value() || kClearly * layers.value()->size() > whole)
        return page;
    m_layers = std::move(*layers.value());
    page.value().layers = &m_layers;
    return page;
}

Result<Page> PageMaker::pixelPage(const Image &image)
{
    Page page;
    page.pixels = &image;
    page.width = image.width();
    page.height = image.height();
    place(page, image.resolution());
    Result<CodedPixels> coded = m_options.codePixels(image, page.resolution);
    if (!coded)
        return coded.error();
    m_coded = std::move(coded.value().data);
    page.coded = m_coded;
    page.coding = coded.value().coding;
    return page;
}

Result<Page> PageMaker::jpegPage(ByteView jpeg, const Resolution &source)
{
    const Result<jpeg::Structure> structure = jpeg::readHeaders(jpeg);
    if (!structure)
        return structure.error();
    Page page;
    page.jpeg = jpeg;
    page.info = structure.value().info;
    page.width = page.info.width;
    page.height = page.info.height;
    if (structure.value().hasProfile) {
        m_profile = jpeg::profileOf(jpeg, structure.value());
        page.profile = usableProfile(
            m_profile, page.info.components == 1 ? ProfilePixels::Gray : ProfilePixels::Rgb);
    }
    // the head of a JPEG made for the page holds whole numbers only
    place(page, source.exact ? source : page.info.resolution);
    return page;
}

Result<Page> PageMaker::encoded(const Image &image, jpeg::Subsampling subsampling)
{
    Result<Bytes> jpeg = jpeg::encode(image, {m_options.quality, subsampling});
    if (!jpeg)
        return jpeg.error();
    m_coded = std::move(jpeg).value();
    return jpegPage(m_coded, image.resolution());
}

Result<Page> PageMaker::reusedPage(ByteView jpeg, const jpeg::Info &info)
{
    const Resolution &stated = info.resolution;
    Result<Page> page = jpegPage(jpeg, turnOf(info).transpose ? stated.transposed() : stated);
    if (!m_options.compact)
        return page;
    const Result<Image> image = load(m_content, kFirstPage);
    return image ? compactIfWanted(std::move(page), image.value()) : page;
}

Result<Page> PageMaker::fromJpeg(const jpeg::Structure &structure)
{
    if (!structure.info.bilevel && !m_options.clean) {
        Result<ByteView> reused = reusableJpeg(
            m_content, structure, {m_options.quality, m_options.plainJpegOnly, m_turn}, m_coded);
        if (!reused)
            return reused.error();
        if (!reused.value().empty())
            return reusedPage(reused.value(), structure.info);
    }
    Result<Image> image = load(m_content, kFirstPage);
    if (!image)
        return image.error();
    m_image = std::move(image).value();
    cleanIfWanted(m_image);
    if (m_image.isBilevel())
        return pixelPage(m_image);
    const jpeg::Info &info = structure.info;
    return compactIfWanted(encoded(m_image, jpeg::keptSubsampling(info, turnOf(info))), m_image);
}

Result<Page> PageMaker::fromContent(ByteView content, std::uint64_t directory)
{
    std::optional<MutexLock> alone;
    if (m_options.largePictures != nullptr) {
        const Result<PictureSize> size = pictureSize(content, directory);
        // nothing larger than reasonable is decoded; the product of such sides may not even exist
        if (size && isSupportedSize(size.value().width, size.value().height)
            && size.value().width * size.value().height > kLargePicture)
            alone.emplace(*m_options.largePictures);
    }
    if (recogniseFormat(content) == SourceFormat::Jpeg) {
        const Result<jpeg::Structure> structure = jpeg::readStructure(content);
        if (!structure)
            return structure.error();
        return fromJpeg(structure.value());
    }
    Result<Image> image = load(content, directory);
    if (!image)
        return image.error();
    m_image = std::move(image).value();
    cleanIfWanted(m_image);
    return madeOf(m_image);
}

bool PageMaker::hasReader() const
{
    return m_options.text != nullptr && m_options.text->isWanted();
}

Page PageMaker::withText(Page page) const
{
    if (m_text && m_options.text->use() == DocumentText::Use::Layer)
        page.text = m_text.get();
    return page;
}

/// The same page once more, as its writing says that it lies. Trouble with that costs the page its
/// text, which would stand in the wrong places.
Result<Page> PageMaker::turned(ByteView content, std::uint64_t directory, const std::string &name)
{
    m_turn = m_text->turn;
    Result<Page> page = exceptionsToErrors([&] { return fromContent(content, directory); });
    if (page)
        return withText(std::move(page).value());
    logLine(LogLevel::Warning, name, "this page is not turned upright", page.error().text);
    m_text = nullptr;
    m_turn = Rotation::None;
    return fromContent(content, directory);
}

/// The writing is read once the page has been made, not while a large picture has others wait:
/// recognition takes seconds.
Result<Page> PageMaker::readPage(ByteView content, std::uint64_t directory, const std::string &name)
{
    m_turn = Rotation::None;
    m_text = nullptr;
    Result<Page> page = fromContent(content, directory);
    if (!page) {
        m_image = Image();
        return page;
    }
    if (!hasReader())
        return page;
    m_text = m_options.text->of(contentKeyOf(content, directory), page.value(), name);
    if (m_text && m_text->turn != Rotation::None)
        return turned(content, directory, name);
    return withText(std::move(page).value());
}

Result<Page> PageMaker::fromFile(const std::string &path)
{
    m_shared.reset();
    if (Result<void> read = readSourceFile(path, m_content); !read)
        return read.error();
    return readPage(m_content, kFirstPage, path);
}

Result<Page> PageMaker::fromTiff(std::shared_ptr<const Bytes> content, std::uint64_t directory,
                                 const std::string &path)
{
    m_shared = std::move(content);
    return readPage(*m_shared, directory, path);
}

Result<Page> PageMaker::madeOf(const Image &image)
{
    const bool bits = image.isBilevel() && image.format() == PixelFormat::Gray8;
    if (bits || m_options.quality == kLossless)
        return compactIfWanted(pixelPage(image), image);
    return compactIfWanted(encoded(image, jpeg::EncodeOptions().subsampling), image);
}

Result<Page> PageMaker::fromImage(const Image &image)
{
    m_text = nullptr;
    Result<Page> page = madeOf(image);
    if (!page || !hasReader())
        return page;
    const std::size_t size = image.stride() * static_cast<std::size_t>(image.height());
    m_text = m_options.text->of(contentKeyOf(ByteView(image.pixels(), size), image.stride()),
                                page.value(), "a picture in memory");
    if (m_text && m_text->turn != Rotation::None) {
        m_image = rotate(image, m_text->turn);
        page = madeOf(m_image);
    }
    return page ? withText(std::move(page).value()) : page;
}

} // namespace korv
