#include "library/formats/tiff/tiff_reader.h"

#include "library/formats/tiff/tiff_memory.h"
#include "library/image/colour_profile.h"
#include "library/image/rotate.h"

#include <algorithm>
#include <cerrno>
#include <vector>

namespace korv {

namespace {

struct TiffPageInfo
{
    std::int64_t width = 0;
    std::int64_t height = 0;
    bool gray = false;
    bool bilevel = false;
    bool transparent = false; ///< beside the colours stands how much of them is seen
    bool unscaledGray = false; ///< libtiff's reader has not multiplied gray with that yet
    int orientation = ORIENTATION_TOPLEFT;
    Resolution resolution;
    std::int64_t bitsOfPixel = 1;
};

/// What one of the two tags states; 0 when it states nothing.
double dpiOf(TIFF *tiff, std::uint32_t tag)
{
    float resolution = 0;
    std::uint16_t unit = RESUNIT_INCH;
    if (!TIFFGetField(tiff, tag, &resolution))
        return 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (!(resolution > 0) || resolution > 100'000 || unit == RESUNIT_NONE)
        return 0;
    return unit == RESUNIT_CENTIMETER ? resolution * 2.54 : resolution;
}

void describeTransparency(TIFF *tiff, std::uint16_t samples, std::uint16_t photometric,
                          TiffPageInfo &page)
{
    std::uint16_t count = 0;
    const std::uint16_t *kinds = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) || count == 0)
        return;
    page.transparent = kinds[0] == EXTRASAMPLE_ASSOCALPHA || kinds[0] == EXTRASAMPLE_UNASSALPHA;
    const bool gray =
        photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK;
    page.gray = page.gray || (gray && samples == 2);
    page.unscaledGray = gray && kinds[0] == EXTRASAMPLE_UNASSALPHA;
}

Result<TiffPageInfo> describe(const TiffMemory &memory)
{
    TIFF *tiff = memory.handle();
    if (tiff == nullptr)
        return memory.error();
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    if (!TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width)
        || !TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height) || width == 0 || height == 0)
        return memory.error("no size");
    std::uint16_t samples = 1;
    std::uint16_t bits = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISWHITE;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    TiffPageInfo page;
    page.width = width;
    page.height = height;
    page.gray = samples == 1
        && (photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK);
    page.bilevel = page.gray && bits == 1;
    describeTransparency(tiff, samples, photometric, page);
    page.orientation = orientation;
    page.resolution = {dpiOf(tiff, TIFFTAG_XRESOLUTION), dpiOf(tiff, TIFFTAG_YRESOLUTION)};
    page.bitsOfPixel = std::int64_t{samples} * bits;
    return page;
}

/// libtiff's, until the next page is read; empty when there is none.
ByteView profileOf(TIFF *tiff)
{
    std::uint32_t size = 0;
    const void *profile = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &profile) || profile == nullptr)
        return {};
    return {profile, size};
}

/// Whether that many pixels can come out of a file of this size. Group 3 and 4 take at least one
/// bit a row; LZW, deflate, JPEG and the run lengths make at most some thousand bytes of one. The
/// newer codings have no such bound, and blank pages shrink that much in them.
bool isPlausible(TIFF *tiff, const TiffPageInfo &page, std::size_t fileSize)
{
    constexpr std::int64_t kMaxBytesPerByte = 4096;
    constexpr std::int64_t kMaxPixelsPerByte = 4096 * 8;
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    const auto bytes = static_cast<std::int64_t>(fileSize);
    if (compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4)
        return page.height / 8 <= bytes;
    const std::int64_t uncoded = page.width * page.height / 8 * page.bitsOfPixel;
    switch (compression) {
    case COMPRESSION_NONE:
        return uncoded / 4 <= bytes; // chroma may be a sixteenth of luma, which is not counted
    case COMPRESSION_LZW:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_JPEG:
    case COMPRESSION_OJPEG:
    case COMPRESSION_PACKBITS:
        return uncoded / kMaxBytesPerByte <= bytes;
    default:
        return page.width * page.height / kMaxPixelsPerByte <= bytes;
    }
}

/// libtiff's general reader gives 32-bit pixels piece by piece (strips or tiles), each with its
/// lowest row first. Source: TIFFReadRGBAStrip(3tiff), TIFFReadRGBATile(3tiff).
class PieceReader
{
public:
    PieceReader(TIFF *tiff, const TiffPageInfo &page, Image &image)
        : m_tiff(tiff)
        , m_page(page)
        , m_image(image)
    {
    }

    bool read() { return TIFFIsTiled(m_tiff) ? readTiles() : readStrips(); }

private:
    bool readStrips();
    bool readTiles();
    std::uint8_t onWhite(std::uint32_t colour, std::uint32_t opacity) const;
    void copyRow(const std::uint32_t *from, int x, int y, int count);
    bool makeRoom(std::uint64_t width, std::uint64_t height)
    {
        // a tile may be larger than the picture, but not without bound
        constexpr std::uint64_t kAlwaysRoom = 4096 * 4096;
        const auto pixels = static_cast<std::uint64_t>(m_image.width())
            * static_cast<std::uint64_t>(m_image.height());
        if (width == 0 || height == 0 || width > kMaxSide + 4096 || height > kMaxSide + 4096
            || width * height > std::max(2 * pixels, kAlwaysRoom)
            || width * height > static_cast<std::uint64_t>(kMaxPixels))
            return false;
        m_raster.resize(static_cast<std::size_t>(width * height));
        return true;
    }

    TIFF *m_tiff;
    const TiffPageInfo &m_page;
    Image &m_image;
    std::vector<std::uint32_t> m_raster;
};

std::uint8_t PieceReader::onWhite(std::uint32_t colour, std::uint32_t opacity) const
{
    if (!m_page.transparent)
        return static_cast<std::uint8_t>(colour);
    if (m_page.unscaledGray)
        colour = (colour * opacity + 127) / 255;
    return static_cast<std::uint8_t>(std::min(colour + 255 - opacity, 255U));
}

void PieceReader::copyRow(const std::uint32_t *from, int x, int y, int count)
{
    std::uint8_t *out = m_image.row(y) + x * m_image.channels();
    for (int i = 0; i < count; ++i) {
        const std::uint32_t pixel = from[i];
        *out++ = onWhite(TIFFGetR(pixel), TIFFGetA(pixel));
        if (m_image.format() == PixelFormat::Gray8)
            continue;
        *out++ = onWhite(TIFFGetG(pixel), TIFFGetA(pixel));
        *out++ = onWhite(TIFFGetB(pixel), TIFFGetA(pixel));
    }
}

bool PieceReader::readStrips()
{
    std::uint32_t stripRows = 0;
    TIFFGetFieldDefaulted(m_tiff, TIFFTAG_ROWSPERSTRIP, &stripRows);
    const int height = m_image.height();
    const int step = static_cast<int>(
        std::min(stripRows == 0 ? 1U : stripRows, static_cast<std::uint32_t>(height)));
    if (!makeRoom(static_cast<std::uint64_t>(m_image.width()), static_cast<std::uint64_t>(step)))
        return false;
    for (int y = 0; y < height; y += step) {
        if (!TIFFReadRGBAStripExt(m_tiff, static_cast<std::uint32_t>(y), m_raster.data(), 1))
            return false;
        const int rows = std::min(step, height - y);
        for (int i = 0; i < rows; ++i) {
            const auto from =
                static_cast<std::size_t>(rows - 1 - i) * static_cast<std::size_t>(m_image.width());
            copyRow(m_raster.data() + from, 0, y + i, m_image.width());
        }
    }
    return true;
}

bool PieceReader::readTiles()
{
    std::uint32_t tileWidth = 0;
    std::uint32_t tileHeight = 0;
    TIFFGetField(m_tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(m_tiff, TIFFTAG_TILELENGTH, &tileHeight);
    if (!makeRoom(tileWidth, tileHeight))
        return false;
    const int stepX = static_cast<int>(tileWidth);
    const int stepY = static_cast<int>(tileHeight);
    for (int y = 0; y < m_image.height(); y += stepY) {
        for (int x = 0; x < m_image.width(); x += stepX) {
            if (!TIFFReadRGBATileExt(m_tiff, static_cast<std::uint32_t>(x),
                                     static_cast<std::uint32_t>(y), m_raster.data(), 1))
                return false;
            const int rows = std::min(stepY, m_image.height() - y);
            const int columns = std::min(stepX, m_image.width() - x);
            for (int i = 0; i < rows; ++i) {
                const auto from = static_cast<std::size_t>(stepY - 1 - i) * tileWidth;
                copyRow(m_raster.data() + from, x, y + i, columns);
            }
        }
    }
    return true;
}

} // namespace

Result<PictureSize> tiffSize(ByteView content, std::uint64_t directory)
{
    const TiffMemory memory(content, directory);
    const Result<TiffPageInfo> page = describe(memory);
    if (!page)
        return page.error();
    return PictureSize{page.value().width, page.value().height};
}

Result<Image> readTiff(ByteView content, std::uint64_t directory)
{
    const TiffMemory memory(content, directory);
    const Result<TiffPageInfo> described = describe(memory);
    if (!described)
        return described.error();
    const TiffPageInfo &page = described.value();
    if (!isSupportedSize(page.width, page.height))
        return Error{-EFBIG, "TIFF: picture too large"};
    if (!isPlausible(memory.handle(), page, content.size))
        return Error{-EBADMSG, "TIFF: file too small for its stated dimensions"};
    char reason[1024] = "";
    if (!TIFFRGBAImageOK(memory.handle(), reason))
        return memory.error(reason);
    // the reader would turn each piece by itself; here the whole picture is turned, at the end
    TIFFSetField(memory.handle(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    Image image(static_cast<int>(page.width), static_cast<int>(page.height),
                page.gray ? PixelFormat::Gray8 : PixelFormat::Rgb24);
    if (!PieceReader(memory.handle(), page, image).read() || memory.wasShort())
        return memory.error();
    image.setBilevel(page.bilevel);
    image.setResolution(page.resolution);
    convertToSrgb(image, profileOf(memory.handle()));
    // the numbers of TIFF 6.0's Orientation are those of EXIF, which took them over
    return applyOrientation(std::move(image), page.orientation);
}

} // namespace korv
