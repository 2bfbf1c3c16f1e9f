#include "library/documents/made/pdf_pixels.h"

#include "library/documents/made/refusal.h"
#include "library/formats/jbig2/jbig2_decoder.h"
#include "library/formats/png_reader.h"
#include "library/formats/tiff/tiff_reader.h"
#include "library/image/colour.h"
#include "library/jpeg/jpeg.h"
#include "library/values/byte_order.h"

#include <libdeflate.h>
#include <string>
#include <utility>

namespace korv {

namespace {

struct PixelSize
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

Result<PixelSize> sizeOf(const PdfDictionary &entries)
{
    const int width = entries.number("Width").value_or(0);
    const int height = entries.number("Height").value_or(0);
    if (!isSupportedSize(width, height))
        return refusal::damaged();
    return PixelSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

Result<Image> jpegPixels(ByteView data)
{
    jpeg::DecodeOptions luma;
    luma.gray = true;
    return jpeg::decode(data, luma);
}

/// As a TIFF of one strip (TIFF 6.0, section 11), which has a reader.
Bytes tiffOf(const PixelSize &size, ByteView coded)
{
    using littleendian::put16;
    using littleendian::put32;
    constexpr std::uint32_t kShort = 3;
    constexpr std::uint32_t kLong = 4;
    struct Field
    {
        std::uint32_t tag;
        std::uint32_t type;
        std::uint32_t value;
    };
    constexpr std::uint32_t kHead = 8;
    const Field fields[] = {
        {256, kLong, size.width},  {257, kLong, size.height},
        {258, kShort, 1}, // bits
        {259, kShort, 4}, // Group 4
        {262, kShort, 0}, // 0 is white
        {273, kLong, kHead},       {277, kShort, 1},
        {278, kLong, size.height}, {279, kLong, static_cast<std::uint32_t>(coded.size)},
    };
    Bytes file = {'I', 'I', 42, 0};
    put32(file, kHead + static_cast<std::uint32_t>(coded.size + coded.size % 2));
    file.insert(file.end(), coded.begin(), coded.end());
    file.resize(file.size() + coded.size % 2);
    put16(file, std::size(fields));
    for (const Field &field : fields) {
        put16(file, field.tag);
        put16(file, field.type);
        put32(file, 1);
        put32(file, field.value);
    }
    put32(file, 0);
    return file;
}

void putChunk(Bytes &file, const char *type, ByteView data)
{
    bigendian::put32(file, static_cast<std::uint32_t>(data.size));
    const std::size_t start = file.size();
    file.insert(file.end(), type, type + 4);
    file.insert(file.end(), data.begin(), data.end());
    bigendian::put32(file, libdeflate_crc32(0, file.data() + start, file.size() - start));
}

/// PDF took over PNG's way to store pixels (7.4.4.4), so they make a PNG again.
Result<Bytes> pngOf(const PixelSize &size, const PdfDictionary &entries, ByteView deflatedRows)
{
    constexpr std::uint8_t kGray = 0;
    constexpr std::uint8_t kRgb = 2;
    const std::optional<PdfDictionary> coding = entries.dictionary("DecodeParms");
    const int bits = entries.number("BitsPerComponent").value_or(0);
    if (!coding || coding->number("Predictor") != 15 || (bits != 1 && bits != 8))
        return refusal::damaged();
    const bool isGray = entries.value("ColorSpace") == "/DeviceGray";
    Bytes head;
    bigendian::put32(head, size.width);
    bigendian::put32(head, size.height);
    head.insert(head.end(), {static_cast<std::uint8_t>(bits), isGray ? kGray : kRgb, 0, 0, 0});
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    putChunk(file, "IHDR", head);
    putChunk(file, "IDAT", deflatedRows);
    putChunk(file, "IEND", {});
    return file;
}

Result<Image> deflatedPixels(const PixelSize &size, const PdfObject &picture)
{
    const Result<Bytes> png = pngOf(size, picture.entries, picture.data);
    if (!png)
        return png.error();
    const Result<Image> image = readPng(png.value());
    return image ? Result<Image>(toGray(image.value())) : image;
}

} // namespace

Result<Image> pixelsOf(const PdfObject &picture)
{
    const Result<PixelSize> size = sizeOf(picture.entries);
    if (!size)
        return size.error();
    const std::string filter = picture.entries.value("Filter");
    Result<Image> image = filter == "/DCTDecode" ? jpegPixels(picture.data)
        : filter == "/CCITTFaxDecode"            ? readTiff(tiffOf(size.value(), picture.data), 0)
        : filter == "/JBIG2Decode"               ? decodeJbig2(picture.data)
        : filter == "/FlateDecode"               ? deflatedPixels(size.value(), picture)
                                                 : Result<Image>(refusal::damaged());
    if (image
        && (image.value().width() != static_cast<int>(size.value().width)
            || image.value().height() != static_cast<int>(size.value().height)))
        return refusal::damaged();
    return image;
}

} // namespace korv
