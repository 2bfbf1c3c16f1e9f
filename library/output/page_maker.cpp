#include "library/output/page_maker.h"

#include "library/imaging/jpeg_mend.h"
#include "library/imaging/jpeg_transform.h"
#include "library/imaging/resolution.h"
#include "library/output/image_loader.h"
#include "library/output/source_file.h"

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on every JPEG is good enough as it is

Page lineartPage(const Image &image)
{
    Page page;
    page.lineart = &image;
    page.width = image.width();
    page.height = image.height();
    page.dpi = effectiveDpi(image.width(), image.height(), image.dpi());
    return page;
}

} // namespace

bool PageMaker::mayStay(const jpeg::Structure &structure) const
{
    const jpeg::Info &info = structure.info;
    if (!jpeg::isWidelyReadable(structure) || info.bilevel)
        return false;
    if (m_options.plainJpegOnly && (info.progressive || !info.plainChroma))
        return false;
    return m_options.quality >= kUnchangedQuality
        || jpeg::isAsCoarseAs(structure, m_options.quality);
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
    m_jpeg = std::move(jpeg).value();
    return jpegPage(m_jpeg);
}

Result<Page> PageMaker::fromJpeg(const jpeg::Structure &structure)
{
    if (!mayStay(structure)) {
        Result<Image> image = loadImage(m_content);
        if (!image)
            return image.error();
        m_image = std::move(image).value();
        if (m_image.isBilevel())
            return lineartPage(m_image);
        return encoded(
            m_image,
            jpeg::keptSubsampling(structure.info, Turn::ofOrientation(structure.info.orientation)));
    }
    if (!isReasonableSize(structure.info.width, structure.info.height))
        return Error{-EFBIG, "picture too large"};
    if (!jpeg::needsMending(structure))
        return jpegPage(ByteView(m_content).first(structure.end));
    Result<Bytes> mended = jpeg::mend(m_content, structure, structure.info.dpi);
    if (!mended)
        return mended.error();
    m_jpeg = std::move(mended).value();
    return jpegPage(m_jpeg);
}

Result<Page> PageMaker::fromFile(const std::string &path)
{
    if (Result<void> read = readSourceFile(path, m_content); !read)
        return read.error();
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

Result<Page> PageMaker::fromImage(const Image &image)
{
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        return lineartPage(image);
    return encoded(image, jpeg::EncodeOptions().subsampling);
}

} // namespace korv
