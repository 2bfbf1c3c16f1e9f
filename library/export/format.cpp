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

constexpr std::array<Format, 8> kFormats = {{
    {"jpg", FormatKind::Jpeg, false, nullptr, false, writeJpegPicture, nullptr},
    {"jpeg", FormatKind::Jpeg, false, nullptr, false, writeJpegPicture, nullptr},
    {"png", FormatKind::Picture, false, nullptr, true, writePngPicture, nullptr},
    {"bmp", FormatKind::Picture, false, nullptr, false, writeBmpPicture, nullptr},
    {"tif", FormatKind::Document, true, codePixelsForTiff, false, nullptr, make<TiffWriter>},
    {"tiff", FormatKind::Document, true, codePixelsForTiff, false, nullptr, make<TiffWriter>},
    {"pdf", FormatKind::Document, false, codePixelsForPdf, false, nullptr, make<PdfWriter>},
    {"ofd", FormatKind::Document, false, codePixelsAsPng, false, nullptr, make<OfdWriter>},
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
