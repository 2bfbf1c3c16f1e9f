#include "library/export/format.h"

#include "library/documents/ofd/ofd_writer.h"
#include "library/documents/pdf/pdf_writer.h"
#include "library/documents/pixel_coders.h"
#include "library/documents/tiff_writer.h"
#include "library/files/file_names.h"
#include "library/formats/bmp_writer.h"
#include "library/formats/png_writer.h"
#include "library/image/resolution.h"
#include "library/jpeg/jpeg.h"

#include <algorithm>
#include <array>

namespace korv {

namespace {

Resolution resolutionOf(const Image &image)
{
    return effectiveResolution(image.width(), image.height(), image.resolution());
}

Result<void> writeJpegPicture(const Image &image, const PictureOptions &options, ByteSink &sink)
{
    jpeg::EncodeOptions encoding;
    encoding.quality = options.quality;
    const Result<Bytes> encoded = jpeg::encode(image, encoding);
    if (!encoded)
        return encoded.error();
    return sink.write(ByteView(encoded.value()));
}

Result<void> writePngPicture(const Image &image, const PictureOptions &options, ByteSink &sink)
{
    return writePng(image, {resolutionOf(image), options.rows}, sink);
}

Result<void> writeBmpPicture(const Image &image, const PictureOptions &, ByteSink &sink)
{
    return writeBmp(image, {resolutionOf(image)}, sink);
}

template <typename Writer>
std::unique_ptr<DocumentWriter> make(ByteSink &sink, const DocumentOptions &options)
{
    return std::make_unique<Writer>(sink, options);
}

constexpr Format jpegPicture(const char *extension)
{
    Format format;
    format.extension = extension;
    format.kind = FormatKind::Jpeg;
    format.writePicture = writeJpegPicture;
    return format;
}

enum class RowsWanted { AllAtOnce, AsTheyCome };

constexpr Format picture(const char *extension, decltype(Format::writePicture) write,
                         RowsWanted rows)
{
    Format format;
    format.extension = extension;
    format.kind = FormatKind::Picture;
    format.writePicture = write;
    format.takesRowsAsTheyCome = rows == RowsWanted::AsTheyCome;
    return format;
}

enum class JpegsTaken { All, PlainOnly };

constexpr Format withLayers(Format format)
{
    format.hasLayers = true;
    return format;
}

template <typename Writer>
constexpr Format document(const char *extension, PixelCoder codePixels, JpegsTaken jpegs)
{
    Format format;
    format.extension = extension;
    format.kind = FormatKind::Document;
    format.makeDocument = make<Writer>;
    format.codePixels = codePixels;
    format.plainJpegOnly = jpegs == JpegsTaken::PlainOnly;
    return format;
}

constexpr Format withText(Format format)
{
    format.hasText = true;
    return format;
}

constexpr std::array<Format, 8> kFormats = {{
    jpegPicture("jpg"),
    jpegPicture("jpeg"),
    picture("png", writePngPicture, RowsWanted::AsTheyCome),
    picture("bmp", writeBmpPicture, RowsWanted::AllAtOnce),
    document<TiffWriter>("tif", codePixelsForTiff, JpegsTaken::PlainOnly),
    document<TiffWriter>("tiff", codePixelsForTiff, JpegsTaken::PlainOnly),
    withLayers(withText(document<PdfWriter>("pdf", codePixelsForPdf, JpegsTaken::All))),
    withText(document<OfdWriter>("ofd", codePixelsAsPng, JpegsTaken::All)),
}};

} // namespace

const Format *formatForPath(const std::string &path)
{
    const std::string extension = extensionOf(path);
    const auto *found = std::find_if(kFormats.begin(), kFormats.end(), [&](const Format &format) {
        return extension == format.extension;
    });
    return found == kFormats.end() ? nullptr : found;
}

} // namespace korv
