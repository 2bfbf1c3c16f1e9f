#include "library/formats/bmp_reader.h"

#include "library/formats/bmp_runs.h"
#include "library/image/colour_profile.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>

namespace korv {

namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::uint32_t kCoreHeader = 12; ///< OS/2's, with sizes of 16 bit
constexpr std::uint32_t kInfoHeader = 40;
constexpr std::uint32_t kMaxHeaderSize = 124;
constexpr std::uint32_t kUncompressed = 0;
constexpr std::uint32_t kRuns8 = 1;
constexpr std::uint32_t kRuns4 = 2;
constexpr std::uint32_t kBitFields = 3;

struct Colour
{
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

struct Header
{
    std::size_t pixelsAt = 0;
    std::size_t paletteAt = 0;
    std::size_t paletteEntry = 4;
    std::uint32_t paletteCount = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    bool topDown = false;
    unsigned bits = 0;
    bool runs = false; ///< run-length coded
    std::array<std::uint32_t, 3> masks{}; ///< red, green, blue; 16 and 32 bits only
    std::int32_t pixelsPerMetreAcross = 0;
    std::int32_t pixelsPerMetreDown = 0;
};

Error bad(const char *why)
{
    return Error{-EBADMSG, std::string("BMP: ") + why};
}

std::uint32_t u16(ByteView data, std::size_t at)
{
    return littleendian::u16(data.data + at);
}

std::uint32_t u32(ByteView data, std::size_t at)
{
    return littleendian::u32(data.data + at);
}

std::int32_t s32(ByteView data, std::size_t at)
{
    return static_cast<std::int32_t>(u32(data, at));
}

Result<void> readMasks(ByteView data, std::uint32_t size, std::uint32_t compression, Header &header)
{
    if (compression == kUncompressed) {
        header.masks = header.bits == 16
            ? std::array<std::uint32_t, 3>{0x7C00, 0x03E0, 0x001F}
            : std::array<std::uint32_t, 3>{0x00FF0000, 0x0000FF00, 0x000000FF};
        return {};
    }
    const std::size_t at = kFileHeader + kInfoHeader;
    if (data.size < at + 12)
        return bad("no colour masks");
    for (std::size_t i = 0; i < 3; ++i)
        header.masks[i] = u32(data, at + 4 * i);
    if (size == kInfoHeader)
        header.paletteAt += 12;
    return {};
}

Result<Header> readHeader(ByteView data)
{
    if (data.size < kFileHeader + kCoreHeader)
        return bad("header cut off");
    Header header;
    header.pixelsAt = u32(data, 10);
    const std::uint32_t size = u32(data, kFileHeader);
    std::uint32_t compression = kUncompressed;
    if (size == kCoreHeader) {
        header.width = u16(data, 18);
        header.height = u16(data, 20);
        header.bits = u16(data, 24);
        header.paletteEntry = 3;
    } else if (size >= kInfoHeader && size <= kMaxHeaderSize && data.size >= kFileHeader + size) {
        header.width = s32(data, 18);
        header.height = s32(data, 22);
        header.bits = u16(data, 28);
        compression = u32(data, 30);
        header.pixelsPerMetreAcross = s32(data, 38);
        header.pixelsPerMetreDown = s32(data, 42);
        header.paletteCount = u32(data, 46);
    } else {
        return bad("unknown header");
    }
    header.topDown = header.height < 0;
    header.height = std::abs(header.height);
    header.paletteAt = kFileHeader + size;
    const bool known = header.bits == 1 || header.bits == 4 || header.bits == 8 || header.bits == 16
        || header.bits == 24 || header.bits == 32;
    const bool masked = header.bits == 16 || header.bits == 32;
    header.runs =
        (compression == kRuns8 && header.bits == 8) || (compression == kRuns4 && header.bits == 4);
    if (!known
        || (compression != kUncompressed && !header.runs && !(compression == kBitFields && masked)))
        return bad("unsupported compression or bit depth");
    if (header.width <= 0 || header.height == 0)
        return bad("no size");
    if (masked) {
        if (Result<void> masks = readMasks(data, size, compression, header); !masks)
            return masks.error();
    }
    return header;
}

std::size_t rowBytes(const Header &header)
{
    return (static_cast<std::size_t>(header.width) * header.bits + 31) / 32 * 4;
}

using Palette = std::array<Colour, 256>;

/// Colours that the file does not define stay black, as other readers have it.
Palette readPalette(ByteView data, const Header &header)
{
    Palette palette{};
    const std::size_t most = std::size_t{1} << header.bits;
    std::size_t count =
        header.paletteCount == 0 ? most : std::min<std::size_t>(header.paletteCount, most);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = header.paletteAt + i * header.paletteEntry;
        if (at + 3 > data.size || at + 3 > header.pixelsAt)
            break;
        palette[i] = {data[at + 2], data[at + 1], data[at]};
    }
    return palette;
}

bool isGray(const Palette &palette, unsigned bits)
{
    return std::all_of(palette.begin(), palette.begin() + (1 << bits), [](const Colour &colour) {
        return colour.red == colour.green && colour.green == colour.blue;
    });
}

std::uint8_t scaled(std::uint32_t pixel, std::uint32_t mask)
{
    if (mask == 0)
        return 0;
    const std::uint32_t lowest = mask & (~mask + 1);
    const std::uint64_t most = mask / lowest;
    return static_cast<std::uint8_t>((pixel & mask) / lowest * std::uint64_t{255} / most);
}

void putColour(const Colour &colour, PixelFormat format, std::uint8_t *&out)
{
    *out++ = colour.red;
    if (format == PixelFormat::Gray8)
        return;
    *out++ = colour.green;
    *out++ = colour.blue;
}

void readPaletteRow(const std::uint8_t *in, const Header &header, const Palette &palette,
                    Image &image, std::uint8_t *out)
{
    const unsigned perByte = 8 / header.bits;
    const unsigned mask = (1U << header.bits) - 1;
    for (unsigned x = 0; x < static_cast<unsigned>(image.width()); ++x) {
        const unsigned shift = 8 - header.bits * (x % perByte + 1);
        putColour(palette[in[x / perByte] >> shift & mask], image.format(), out);
    }
}

void readDirectRow(ByteView data, std::size_t at, const Header &header, int width,
                   std::uint8_t *out)
{
    for (int x = 0; x < width; ++x, out += 3, at += header.bits / 8) {
        if (header.bits == 24) {
            out[0] = data[at + 2];
            out[1] = data[at + 1];
            out[2] = data[at];
            continue;
        }
        const std::uint32_t pixel = header.bits == 16 ? u16(data, at) : u32(data, at);
        for (std::size_t i = 0; i < 3; ++i)
            out[i] = scaled(pixel, header.masks[i]);
    }
}

/// Runs can leave pixels out, so a few bytes may stand for a picture of any size. A huge one is
/// believed from one byte for 4096 pixels on.
bool isPlausible(const Header &header, std::size_t runBytes)
{
    constexpr std::int64_t kBelievedPixels = 32'000'000;
    constexpr std::int64_t kMaxPixelsPerByte = 4096;
    const std::int64_t pixels = header.width * header.height;
    return pixels <= kBelievedPixels
        || pixels / kMaxPixelsPerByte <= static_cast<std::int64_t>(runBytes);
}

Result<void> readRuns(ByteView runs, const Header &header, const Palette &palette, Image &image)
{
    const auto width = static_cast<std::size_t>(header.width);
    const auto rows = static_cast<std::size_t>(header.height);
    Bytes indices(width * rows);
    if (Result<void> decoded = decodeBmpRuns(runs, header.bits, width, indices); !decoded)
        return decoded;
    for (std::size_t y = 0; y < rows; ++y) {
        const std::uint8_t *in = indices.data() + width * (header.topDown ? y : rows - 1 - y);
        std::uint8_t *out = image.row(static_cast<int>(y));
        for (std::size_t x = 0; x < width; ++x)
            putColour(palette[in[x]], image.format(), out);
    }
    return {};
}

/// An ICC profile that the longest head names (Microsoft's BITMAPV5HEADER); empty without one.
ByteView profileOf(ByteView data)
{
    constexpr std::uint32_t kEmbedded = 0x4D424544; // 'MBED'
    if (u32(data, kFileHeader) != kMaxHeaderSize || u32(data, kFileHeader + 56) != kEmbedded)
        return {};
    const std::size_t at = std::size_t{u32(data, kFileHeader + 112)} + kFileHeader;
    const std::size_t size = u32(data, kFileHeader + 116);
    if (at > data.size || size > data.size - at)
        return {};
    return {data.data + at, size};
}

bool isBlackAndWhite(const Palette &palette)
{
    return (palette[0].red == 0 && palette[1].red == 255)
        || (palette[0].red == 255 && palette[1].red == 0);
}

} // namespace

Result<Image> readBmp(ByteView content)
{
    const Result<Header> parsed = readHeader(content);
    if (!parsed)
        return parsed.error();
    const Header &header = parsed.value();
    if (!isSupportedSize(header.width, header.height))
        return Error{-EFBIG, "BMP: picture too large"};
    if (header.pixelsAt > content.size)
        return bad("pixels cut off");
    const ByteView coded(content.data + header.pixelsAt, content.size - header.pixelsAt);
    const std::size_t stride = rowBytes(header);
    const auto rows = static_cast<std::size_t>(header.height);
    if (header.runs ? !isPlausible(header, coded.size) : stride * rows > coded.size)
        return bad("pixels cut off");

    Palette palette{};
    PixelFormat format = PixelFormat::Rgb24;
    if (header.bits <= 8) {
        palette = readPalette(content, header);
        if (isGray(palette, header.bits))
            format = PixelFormat::Gray8;
    }
    Image image(static_cast<int>(header.width), static_cast<int>(header.height), format);
    if (header.runs) {
        if (Result<void> read = readRuns(coded, header, palette, image); !read)
            return read.error();
    }
    for (std::size_t y = 0; y < rows && !header.runs; ++y) {
        const std::size_t at = stride * (header.topDown ? y : rows - 1 - y);
        std::uint8_t *out = image.row(static_cast<int>(y));
        if (header.bits <= 8)
            readPaletteRow(coded.data + at, header, palette, image, out);
        else
            readDirectRow(coded, at, header, image.width(), out);
    }
    if (header.bits == 1 && format == PixelFormat::Gray8 && isBlackAndWhite(palette))
        image.setBilevel(true);
    convertToSrgb(image, profileOf(content));
    const auto dpiOf = [](std::int32_t perMetre) {
        return std::round(std::max(perMetre, 0) * 0.0254 * 100) / 100;
    };
    image.setResolution({dpiOf(header.pixelsPerMetreAcross), dpiOf(header.pixelsPerMetreDown)});
    return image;
}

Result<PictureSize> bmpSize(ByteView content)
{
    const Result<Header> header = readHeader(content);
    if (!header)
        return header.error();
    return PictureSize{header.value().width, header.value().height};
}

} // namespace korv
