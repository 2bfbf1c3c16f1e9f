#include "library/formats/png_reader.h"

#include "library/base/memory_verdict.h"
#include "library/exif/exif.h"
#include "library/image/colour_profile.h"
#include "library/image/rotate.h"
#include "library/values/byte_order.h"

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <iterator>
#include <vector>

#include <libdeflate.h>
#include <png.h>

namespace korv {

namespace {

constexpr std::size_t kHeaderEnd = 33; ///< signature and IHDR chunk
constexpr png_alloc_size_t kMaxChunkSize = 8'000'000; // profiles
// Nobody here asks libpng for them. libpng takes as much memory as they say they are long before it reads
// on, up to 2 GB for a file of a hundred bytes, and keeps what they hold.
constexpr png_byte kIgnoredChunks[] = "eXIf\0iTXt\0pCAL\0sCAL\0sPLT\0tEXt\0tIME\0zTXt";

/// What the eXIf chunk says, if there is one, undamaged.
int orientationOf(ByteView content)
{
    constexpr std::size_t kAround = 12; // length, type, checksum
    std::size_t at = 8;
    while (content.size - at >= kAround) {
        const std::size_t length = bigendian::u32(content.data + at);
        if (length > content.size - at - kAround)
            break;
        const std::uint8_t *type = content.data + at + 4;
        if (std::memcmp(type, "eXIf", 4) == 0
            && libdeflate_crc32(0, type, 4 + length) == bigendian::u32(type + 4 + length))
            return exifBlockOrientation({type + 4, length}, 1);
        at += kAround + length;
    }
    return 1;
}

/// Bits of a pixel with this header (PNG, 11.2.2); 0 when there is no such kind.
int bitsOfPixel(ByteView content)
{
    constexpr int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
    const std::uint8_t type = content[25];
    return type < std::size(kChannels) ? kChannels[type] * content[24] : 0;
}

/// libpng's reader over memory. Every call into libpng happens inside run(), which catches its
/// longjmp.
class PngDecoder
{
public:
    explicit PngDecoder(ByteView content)
        : m_left(content)
    {
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
        if (m_png != nullptr)
            m_info = png_create_info_struct(m_png);
    }
    ~PngDecoder() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    PngDecoder(const PngDecoder &) = delete;
    PngDecoder &operator=(const PngDecoder &) = delete;

    bool ready() const { return m_info != nullptr; }
    Error error() const
    {
        const int code = m_memory.codeOr(-EBADMSG);
        return {code, std::string("PNG: ") + m_problem};
    }
    bool readHeader();
    bool readRows(png_bytepp rows);
    PixelFormat format() const { return m_gray ? PixelFormat::Gray8 : PixelFormat::Rgb24; }
    bool isBilevel() const { return m_bilevel; }
    const Resolution &resolution() const { return m_resolution; }
    std::size_t rowBytes() const { return m_rowBytes; }
    /// libpng's, as long as the decoder.
    ByteView profile() const { return m_profile; }

private:
    template <typename Work> bool run(Work &&work)
    {
        if (setjmp(m_jump) != 0) // NOLINT(cert-err52-cpp): libpng offers no other way out
            return false;
        work();
        return true;
    }

    static PngDecoder *self(png_structp png)
    {
        return static_cast<PngDecoder *>(png_get_error_ptr(png));
    }
    [[noreturn]] static void onError(png_structp png, png_const_charp text)
    {
        PngDecoder *decoder = self(png);
        std::strncpy(decoder->m_problem, text, sizeof decoder->m_problem - 1);
        std::longjmp(decoder->m_jump, 1); // NOLINT(cert-err52-cpp)
    }
    static void onWarning(png_structp, png_const_charp) { }
    static void onRead(png_structp png, png_bytep to, std::size_t size)
    {
        auto *decoder = static_cast<PngDecoder *>(png_get_io_ptr(png));
        if (size > decoder->m_left.size)
            png_error(png, "data cut off");
        std::memcpy(to, decoder->m_left.data, size);
        decoder->m_left = {decoder->m_left.data + size, decoder->m_left.size - size};
    }
    void chooseTransforms();
    void readResolution();
    void readProfile();

    const MemoryVerdict m_memory; ///< before libpng begins
    ByteView m_left;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::jmp_buf m_jump{};
    char m_problem[100] = "out of memory";
    bool m_gray = false;
    bool m_bilevel = false;
    Resolution m_resolution;
    std::size_t m_rowBytes = 0;
    ByteView m_profile;
};

void PngDecoder::chooseTransforms()
{
    const int type = png_get_color_type(m_png, m_info);
    const bool transparent = png_get_valid(m_png, m_info, PNG_INFO_tRNS) != 0;
    m_gray = (type & PNG_COLOR_MASK_COLOR) == 0;
    m_bilevel =
        type == PNG_COLOR_TYPE_GRAY && png_get_bit_depth(m_png, m_info) == 1 && !transparent;
    png_set_expand(m_png);
    png_set_scale_16(m_png);
    if (transparent || (type & PNG_COLOR_MASK_ALPHA) != 0) {
        const png_color_16 white = {0, 255, 255, 255, 255};
        png_set_background(m_png, &white, PNG_BACKGROUND_GAMMA_SCREEN, 0, 1.0);
    }
    png_set_interlace_handling(m_png);
}

void PngDecoder::readResolution()
{
    const auto dpiOf = [](png_uint_32 perMetre) {
        return std::round(perMetre * 0.0254 * 100) / 100;
    };
    m_resolution = {dpiOf(png_get_x_pixels_per_meter(m_png, m_info)),
                    dpiOf(png_get_y_pixels_per_meter(m_png, m_info))};
}

void PngDecoder::readProfile()
{
    png_charp name = nullptr;
    int method = 0;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(m_png, m_info, &name, &method, &profile, &size) != 0)
        m_profile = {profile, size};
}

bool PngDecoder::readHeader()
{
    return run([&] {
        png_set_read_fn(m_png, this, onRead);
        png_set_user_limits(m_png, kMaxSide, kMaxSide);
        png_set_chunk_malloc_max(m_png, kMaxChunkSize);
        png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, kIgnoredChunks,
                                    sizeof kIgnoredChunks / 5);
        png_set_crc_action(m_png, PNG_CRC_ERROR_QUIT, PNG_CRC_WARN_DISCARD);
        png_read_info(m_png, m_info);
        readResolution();
        readProfile();
        chooseTransforms();
        png_read_update_info(m_png, m_info);
        m_rowBytes = png_get_rowbytes(m_png, m_info);
    });
}

bool PngDecoder::readRows(png_bytepp rows)
{
    return run([&] {
        png_read_image(m_png, rows);
        png_read_end(m_png, nullptr);
    });
}

} // namespace

Result<PictureSize> pngSize(ByteView content)
{
    if (content.size < kHeaderEnd || std::memcmp(content.data + 12, "IHDR", 4) != 0)
        return Error{-EBADMSG, "PNG: no header"};
    const PictureSize size{bigendian::u32(content.data + 16), bigendian::u32(content.data + 20)};
    if (size.width == 0 || size.height == 0)
        return Error{-EBADMSG, "PNG: no size"};
    return size;
}

Result<Image> readPng(ByteView content)
{
    const Result<PictureSize> size = pngSize(content);
    if (!size)
        return size.error();
    const auto [width, height] = size.value();
    if (!isSupportedSize(width, height))
        return Error{-EFBIG, "PNG: picture too large"};
    // deflate makes at most 1032 bytes of one
    if (width * height / 8 * bitsOfPixel(content) / 1032 > static_cast<std::int64_t>(content.size))
        return Error{-EBADMSG, "PNG: file too small for its stated dimensions"};
    PngDecoder decoder(content);
    if (!decoder.ready())
        return Error{-ENOMEM, "PNG: no memory"};
    if (!decoder.readHeader())
        return decoder.error();
    Image image(static_cast<int>(width), static_cast<int>(height), decoder.format());
    if (decoder.rowBytes() != image.stride())
        return Error{-EBADMSG, "PNG: unusual kind of pixels"};
    std::vector<png_bytep> rows(static_cast<std::size_t>(height));
    for (int y = 0; y < image.height(); ++y)
        rows[static_cast<std::size_t>(y)] = image.row(y);
    if (!decoder.readRows(rows.data()))
        return decoder.error();
    image.setBilevel(decoder.isBilevel());
    image.setResolution(decoder.resolution());
    convertToSrgb(image, decoder.profile());
    return applyOrientation(std::move(image), orientationOf(content));
}

} // namespace korv
