#include "library/export/convert.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/clean/clean_paper.h"
#include "library/export/add_text.h"
#include "library/export/document.h"
#include "library/export/format.h"
#include "library/export/image_loader.h"
#include "library/export/rescue.h"
#include "library/files/atomic_file.h"
#include "library/files/source_file.h"
#include "library/formats/tiff/tiff_pages.h"
#include "library/image/resolution.h"
#include "library/jpeg/rework/jpeg_reuse.h"
#include "library/jpeg/rework/jpeg_transform.h"
#include "library/threads/thread.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

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
        return writeWith([&](AtomicFile &file) {
            return format.writePicture(image, {quality, nullptr}, file);
        });
    }

private:
    const std::string &m_destination;
    bool m_finished = false;
};

enum class Light { AsItIs, EvenedOut };

Result<Image> loaded(ByteView content, Light light)
{
    Result<Image> image = loadImage(content);
    if (image && light == Light::EvenedOut) {
        HelperThread core;
        cleanPaper(image.value(), core);
    }
    return image;
}

/// JPEG to JPEG: without decoding, where that is possible.
Result<void> convertJpeg(ByteView content, Output &output, int quality, Light light)
{
    const Result<jpeg::Structure> structure = jpeg::readStructure(content);
    if (!structure)
        return structure.error();
    if (light == Light::AsItIs) {
        Bytes storage;
        const Result<ByteView> reused =
            reusableJpeg(content, structure.value(), {quality, false}, storage);
        if (!reused)
            return reused.error();
        if (!reused.value().empty())
            return output.write(reused.value());
    }
    Result<Image> image = loaded(content, light);
    if (!image)
        return image.error();
    Image &picture = image.value();
    picture.setResolution(
        effectiveResolution(picture.width(), picture.height(), picture.resolution()));
    const jpeg::Info &info = structure.value().info;
    const Result<Bytes> encoded = jpeg::encode(
        picture, {quality, jpeg::keptSubsampling(info, Turn::ofOrientation(info.orientation))});
    return encoded ? output.write(encoded.value()) : Result<void>(encoded.error());
}

/// Fills a picture on a thread of its own; ended and joined with the object.
class BackgroundDecoder
{
public:
    /// `content` is borrowed. Throws std::system_error when there is no thread.
    BackgroundDecoder(ByteView content, const jpeg::Info &info)
        : m_image(info.width, info.height,
                  info.components == 1 ? PixelFormat::Gray8 : PixelFormat::Rgb24)
    {
        m_image.setResolution(info.resolution);
        m_thread = startThread("korv-decoder", [this, content] { decode(content); });
    }
    ~BackgroundDecoder() { static_cast<void>(finish()); }
    BackgroundDecoder(const BackgroundDecoder &) = delete;
    BackgroundDecoder &operator=(const BackgroundDecoder &) = delete;

    const Image &image() const { return m_image; }
    RowGate &rows() { return m_rows; }

    Result<void> finish()
    {
        if (m_thread.joinable())
            m_thread.join();
        return m_result;
    }

private:
    void decode(ByteView content)
    {
        m_result = exceptionsToErrors([&] {
            return jpeg::decodeInto(content, m_image, [&](int rows) { m_rows.publish(rows); });
        });
        m_rows.end();
    }

    Image m_image;
    RowGate m_rows;
    Result<void> m_result;
    std::thread m_thread;
};

/// Whether the picture's rows come out of the decoder as they stand in the new file, colours too.
bool comesInOrder(const jpeg::Structure &structure)
{
    const jpeg::Info &info = structure.info;
    return !structure.hasProfile && info.orientation == 1 && !info.bilevel
        && (info.components == 1 || info.components == 3)
        && isSupportedSize(info.width, info.height);
}

/// Decodes on one core while the other one writes. Nothing when there is no thread for it.
std::optional<Result<void>> convertAsRowsCome(ByteView content, const jpeg::Info &info,
                                              const Format &format, Output &output, int quality)
{
    std::unique_ptr<BackgroundDecoder> decoder;
    try {
        decoder = std::make_unique<BackgroundDecoder>(content, info);
    } catch (const std::system_error &error) {
        logLine(LogLevel::Debug, "converting without a second thread", error.what());
        return std::nullopt;
    }
    return output.writeWith([&](AtomicFile &file) -> Result<void> {
        Result<void> written =
            format.writePicture(decoder->image(), {quality, &decoder->rows()}, file);
        // a picture that broke is the reason, whatever the writer made of it
        if (Result<void> decoded = decoder->finish(); !decoded)
            return decoded;
        return written;
    });
}

/// A single picture has room for one page.
void tellOfOtherPages(const std::string &source, ByteView content)
{
    if (recogniseFormat(content) != SourceFormat::Tiff)
        return;
    const std::size_t pages = tiffPages(content).directories.size();
    if (pages > 1)
        logLine(LogLevel::Warning,
                source + " has " + std::to_string(pages)
                    + " pages, of which a single picture holds the first; pdf, ofd and tiff hold"
                      " all");
}

Result<void> convertPicture(const std::string &source, const Format &format, Output &output,
                            int quality, Light light)
{
    Bytes content;
    if (Result<void> read = readSourceFile(source, content); !read)
        return read;
    if (format.kind == FormatKind::Jpeg && recogniseFormat(content) == SourceFormat::Jpeg)
        return convertJpeg(content, output, quality, light);
    if (light == Light::AsItIs && format.takesRowsAsTheyCome
        && recogniseFormat(content) == SourceFormat::Jpeg) {
        const Result<jpeg::Structure> structure = jpeg::readStructure(content);
        if (!structure)
            return structure.error();
        const jpeg::Info &info = structure.value().info;
        if (comesInOrder(structure.value()) && jpeg::isPlausible(info, content.size())) {
            if (const auto result = convertAsRowsCome(content, info, format, output, quality))
                return *result;
        }
    }
    tellOfOtherPages(source, content);
    Result<Image> image = loaded(content, light);
    if (!image)
        return image.error();
    return output.write(image.value(), format, quality);
}

Error unknownExtension(const std::string &destination)
{
    return Error{-EINVAL, "no known file format for " + destination};
}

} // namespace

Result<void> convertImage(const std::string &source, const std::string &destination, int quality,
                          const DocumentSettings &settings)
{
    const Format *format = formatForPath(destination);
    if (format == nullptr)
        return unknownExtension(destination);
    if (format->hasText && settings.text && looksLikeDocument(source))
        return exceptionsToErrors(
            [&] { return addText(source, *format, destination, *settings.text); });
    std::vector<std::string> left = {source};
    Result<void> converted = exceptionsToErrors([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument({source}, *format, destination, quality, settings, left);
        Output output(destination);
        Result<void> result = convertPicture(source, *format, output, quality,
                                             settings.clean ? Light::EvenedOut : Light::AsItIs);
        if (output.isFinished())
            left.clear();
        return result;
    });
    if (!left.empty())
        rescuePages(left, destination);
    return converted;
}

Result<void> writeImage(const Image &image, const std::string &destination, int quality,
                        const DocumentSettings &settings)
{
    const Format *format = formatForPath(destination);
    if (format == nullptr)
        return unknownExtension(destination);
    return exceptionsToErrors([&]() -> Result<void> {
        if (format->kind == FormatKind::Document)
            return writeDocument(image, *format, destination, quality, settings);
        return Output(destination).write(image, *format, quality);
    });
}

} // namespace korv
