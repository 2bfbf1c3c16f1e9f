#include "library/output/convert.h"

#include "library/imaging/jpeg_mend.h"
#include "library/imaging/resolution.h"
#include "library/output/atomic_file.h"
#include "library/output/boundary.h"
#include "library/output/document.h"
#include "library/output/format.h"
#include "library/output/image_loader.h"
#include "library/output/source_file.h"

#include <cerrno>

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on every JPEG is good enough as it is

Result<void> writePictureFile(const Image &image, const Format &format,
                              const std::string &destination, int quality)
{
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination);
    if (!file)
        return file.error();
    if (Result<void> written = format.writePicture(image, {quality}, *file.value()); !written)
        return written;
    return file.value()->commit();
}

/// JPEG to JPEG: the bytes as they are, mended if need be, unless something must change.
Result<void> convertJpeg(ByteView content, const std::string &destination, int quality)
{
    const Result<jpeg::Structure> read = jpeg::readStructure(content);
    if (!read)
        return read.error();
    const jpeg::Structure &structure = read.value();
    const jpeg::Info &info = structure.info;
    if (!isReasonableSize(info.width, info.height))
        return Error{-EFBIG, "picture too large"};
    if (jpeg::isWidelyReadable(structure)
        && (quality >= kUnchangedQuality || jpeg::isAsCoarseAs(structure, quality))) {
        if (!jpeg::needsMending(structure))
            return writeFileAtomically(destination, content.first(structure.end));
        const Result<Bytes> mended = jpeg::mend(content, structure, info.dpi);
        return mended ? writeFileAtomically(destination, mended.value())
                      : Result<void>(mended.error());
    }
    Result<Image> image = loadImage(content);
    if (!image)
        return image.error();
    image.value().setDpi(
        effectiveDpi(image.value().width(), image.value().height(), image.value().dpi()));
    const Result<Bytes> encoded = jpeg::encode(image.value(), {quality, jpeg::subsamplingOf(info)});
    return encoded ? writeFileAtomically(destination, encoded.value())
                   : Result<void>(encoded.error());
}

Result<void> convertPicture(const std::string &source, const Format &format,
                            const std::string &destination, int quality)
{
    Bytes content;
    if (Result<void> read = readSourceFile(source, content); !read)
        return read;
    if (format.kind == FormatKind::Jpeg && recogniseFormat(content) == SourceFormat::Jpeg)
        return convertJpeg(content, destination, quality);
    Result<Image> image = loadImage(content);
    if (!image)
        return image.error();
    return writePictureFile(image.value(), format, destination, quality);
}

Error unknownExtension(const std::string &destination)
{
    return Error{-EINVAL, "no known file format for " + destination};
}

} // namespace

Result<void> convertImage(const std::string &source, const std::string &destination, int quality)
{
    const Format *format = formatForPath(destination);
    if (format == nullptr)
        return unknownExtension(destination);
    return withoutExceptions([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument({source}, *format, destination, quality);
        return convertPicture(source, *format, destination, quality);
    });
}

Result<void> writeImage(const Image &image, const std::string &destination, int quality)
{
    const Format *format = formatForPath(destination);
    if (format == nullptr)
        return unknownExtension(destination);
    return withoutExceptions([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument(image, *format, destination, quality);
        return writePictureFile(image, *format, destination, quality);
    });
}

} // namespace korv
