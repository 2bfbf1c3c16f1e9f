#include "library/output/convert.h"

#include "library/imaging/jpeg_transform.h"
#include "library/imaging/resolution.h"
#include "library/output/atomic_file.h"
#include "library/output/boundary.h"
#include "library/output/document.h"
#include "library/output/format.h"
#include "library/output/image_loader.h"
#include "library/output/jpeg_reuse.h"
#include "library/output/rescue.h"
#include "library/output/source_file.h"

#include <cerrno>

namespace korv {

namespace {

/// Where the one picture goes, and whether it has arrived.
class Output
{
public:
    explicit Output(const std::string &destination)
        : m_destination(destination)
    {
    }

    bool isFinished() const { return m_finished; }

    template <typename Write> Result<void> writeWith(Write &&writeInto)
    {
        Result<std::unique_ptr<AtomicFile>> file =
            AtomicFile::create(m_destination, Existing::KeepBoth);
        if (!file)
            return file.error();
        if (Result<void> written = writeInto(*file.value()); !written)
            return written;
        Result<void> committed = file.value()->commit();
        m_finished = file.value()->isNamed();
        return committed;
    }
    Result<void> write(ByteView content)
    {
        return writeWith([&](AtomicFile &file) { return file.write(content); });
    }
    Result<void> write(const Image &image, const Format &format, int quality)
    {
        return writeWith(
            [&](AtomicFile &file) { return format.writePicture(image, {quality}, file); });
    }

private:
    const std::string &m_destination;
    bool m_finished = false;
};

/// JPEG to JPEG: without decoding, where that is possible.
Result<void> convertJpeg(ByteView content, Output &output, int quality)
{
    const Result<jpeg::Structure> structure = jpeg::readStructure(content);
    if (!structure)
        return structure.error();
    Bytes storage;
    const Result<ByteView> reused =
        reusableJpeg(content, structure.value(), {quality, false}, storage);
    if (!reused)
        return reused.error();
    if (!reused.value().empty())
        return output.write(reused.value());
    Result<Image> image = loadImage(content);
    if (!image)
        return image.error();
    Image &picture = image.value();
    picture.setDpi(effectiveDpi(picture.width(), picture.height(), picture.dpi()));
    const jpeg::Info &info = structure.value().info;
    const Result<Bytes> encoded = jpeg::encode(
        picture, {quality, jpeg::keptSubsampling(info, Turn::ofOrientation(info.orientation))});
    return encoded ? output.write(encoded.value()) : Result<void>(encoded.error());
}

Result<void> convertPicture(const std::string &source, const Format &format, Output &output,
                            int quality)
{
    Bytes content;
    if (Result<void> read = readSourceFile(source, content); !read)
        return read;
    if (format.kind == FormatKind::Jpeg && recogniseFormat(content) == SourceFormat::Jpeg)
        return convertJpeg(content, output, quality);
    Result<Image> image = loadImage(content);
    if (!image)
        return image.error();
    return output.write(image.value(), format, quality);
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
    std::vector<std::string> left = {source};
    Result<void> converted = withoutExceptions([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument({source}, *format, destination, quality, left);
        Output output(destination);
        Result<void> result = convertPicture(source, *format, output, quality);
        if (output.isFinished())
            left.clear();
        return result;
    });
    if (!left.empty())
        rescuePages(left, destination);
    return converted;
}

Result<void> writeImage(const Image &image, const std::string &destination, int quality)
{
    const Format *format = formatForPath(destination);
    if (format == nullptr)
        return unknownExtension(destination);
    return withoutExceptions([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument(image, *format, destination, quality);
        return Output(destination).write(image, *format, quality);
    });
}

} // namespace korv
