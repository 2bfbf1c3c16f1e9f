#include "library/output/page_maker.h"

#include "library/imaging/jpeg_transform.h"
#include "library/imaging/resolution.h"
#include "library/output/image_loader.h"
#include "library/output/jpeg_reuse.h"
#include "library/output/source_file.h"

namespace korv {

namespace {

constexpr std::int64_t kLargePicture = 40'000'000; ///< pixels

} // namespace

Result<Page> PageMaker::lineartPage(const Image &image)
{
    Page page;
    page.lineart = &image;
    page.width = image.width();
    page.height = image.height();
    page.dpi = effectiveDpi(image.width(), image.height(), image.dpi());
    if (m_options.codeLineart == nullptr)
        return page;
    Result<Bytes> coded = m_options.codeLineart(page);
    if (!coded)
        return coded.error();
    m_coded = std::move(coded).value();
    page.codedLineart = m_coded;
    return page;
}

Result<Page> PageMaker::jpegPage(ByteView jpeg)
{
    const Result<jpeg::Info> info = jpeg::readInfo(jpeg);
    if (!info)
        return info.error();
    Page page;
    page.jpeg = jpeg;
    page.info = info.value();
    page.width = page.info.width;
    page.height = page.info.height;
    page.dpi = effectiveDpi(page.width, page.height, page.info.dpi);
    return page;
}

Result<Page> PageMaker::encoded(const Image &image, jpeg::Subsampling subsampling)
{
    Result<Bytes> jpeg = jpeg::encode(image, {m_options.quality, subsampling});
    if (!jpeg)
        return jpeg.error();
    m_coded = std::move(jpeg).value();
    return jpegPage(m_coded);
}

Result<Page> PageMaker::fromJpeg(const jpeg::Structure &structure)
{
    if (!structure.info.bilevel) {
        Result<ByteView> reused = reusableJpeg(
            m_content, structure, {m_options.quality, m_options.plainJpegOnly}, m_coded);
        if (!reused)
            return reused.error();
        if (!reused.value().empty())
            return jpegPage(reused.value());
    }
    Result<Image> image = loadImage(m_content);
    if (!image)
        return image.error();
    m_image = std::move(image).value();
    if (m_image.isBilevel())
        return lineartPage(m_image);
    const jpeg::Info &info = structure.info;
    return encoded(m_image, jpeg::keptSubsampling(info, Turn::ofOrientation(info.orientation)));
}

Result<Page> PageMaker::fromContent()
{
    if (recogniseFormat(m_content) == SourceFormat::Jpeg) {
        const Result<jpeg::Structure> structure = jpeg::readStructure(m_content);
        if (!structure)
            return structure.error();
        return fromJpeg(structure.value());
    }
    Result<Image> image = loadImage(m_content);
    if (!image)
        return image.error();
    m_image = std::move(image).value();
    return fromImage(m_image);
}

Result<Page> PageMaker::fromFile(const std::string &path)
{
    if (Result<void> read = readSourceFile(path, m_content); !read)
        return read.error();
    std::unique_lock<std::mutex> alone;
    if (m_options.largePictures != nullptr) {
        const Result<PictureSize> size = pictureSize(m_content);
        // nothing larger than reasonable is decoded; the product of such sides may not even exist
        if (size && isReasonableSize(size.value().width, size.value().height)
            && size.value().width * size.value().height > kLargePicture)
            alone = std::unique_lock<std::mutex>(*m_options.largePictures);
    }
    Result<Page> page = fromContent();
    if (!page)
        m_image = Image();
    return page;
}

Result<Page> PageMaker::fromImage(const Image &image)
{
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        return lineartPage(image);
    return encoded(image, jpeg::EncodeOptions().subsampling);
}

} // namespace korv
