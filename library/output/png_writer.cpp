#include "library/output/png_writer.h"

#include "library/output/packed_bits.h"

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>

#include <png.h>

namespace korv {

namespace {

// Photographs hardly shrink further above this level, but take several times as long.
constexpr int kPhotographLevel = 2;
constexpr int kLineartLevel = 6;
constexpr std::size_t kChunk = 128 * 1024; ///< of compressed data

/// libpng's writer into a sink. Every call into libpng happens inside run(), which catches its
/// longjmp.
class PngEncoder
{
public:
    explicit PngEncoder(ByteSink &sink)
        : m_sink(sink)
    {
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
        if (m_png != nullptr)
            m_info = png_create_info_struct(m_png);
    }
    ~PngEncoder() { png_destroy_write_struct(&m_png, &m_info); }
    PngEncoder(const PngEncoder &) = delete;
    PngEncoder &operator=(const PngEncoder &) = delete;

    bool ready() const { return m_info != nullptr; }
    Error error() const { return m_error; }
    bool write(const Image &image, double dpi, Bytes &row);

private:
    template <typename Work> bool run(Work &&work)
    {
        if (setjmp(m_jump) != 0) // NOLINT(cert-err52-cpp): libpng offers no other way out
            return false;
        work();
        return true;
    }
    [[noreturn]] static void onError(png_structp png, png_const_charp)
    {
        auto *encoder = static_cast<PngEncoder *>(png_get_error_ptr(png));
        std::longjmp(encoder->m_jump, 1); // NOLINT(cert-err52-cpp)
    }
    static void onWarning(png_structp, png_const_charp) { }
    static void onWrite(png_structp png, png_bytep data, std::size_t size)
    {
        auto *encoder = static_cast<PngEncoder *>(png_get_io_ptr(png));
        if (!encoder->put({data, size}))
            png_error(png, "sink");
    }
    static void onFlush(png_structp) { }
    bool put(ByteView bytes)
    {
        Result<void> written = m_sink.write(bytes);
        if (!written)
            m_error = written.error();
        return static_cast<bool>(written);
    }
    void configure(const Image &image, double dpi);

    ByteSink &m_sink;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::jmp_buf m_jump{};
    Error m_error{-ENOMEM, "PNG: no memory"};
};

void PngEncoder::configure(const Image &image, double dpi)
{
    const bool gray = image.format() == PixelFormat::Gray8;
    const bool bilevel = gray && image.isBilevel();
    png_set_write_fn(m_png, this, onWrite, onFlush);
    png_set_compression_buffer_size(m_png, kChunk);
    png_set_compression_level(m_png, bilevel ? kLineartLevel : kPhotographLevel);
    png_set_filter(m_png, PNG_FILTER_TYPE_BASE, bilevel ? PNG_FILTER_NONE : PNG_FILTER_UP);
    png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(image.width()),
                 static_cast<png_uint_32>(image.height()), bilevel ? 1 : 8,
                 gray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const auto perMetre = static_cast<png_uint_32>(std::lround(dpi / 0.0254));
    png_set_pHYs(m_png, m_info, perMetre, perMetre, PNG_RESOLUTION_METER);
}

bool PngEncoder::write(const Image &image, double dpi, Bytes &row)
{
    return run([&] {
        configure(image, dpi);
        png_write_info(m_png, m_info);
        for (int y = 0; y < image.height(); ++y) {
            if (row.empty()) {
                png_write_row(m_png, image.row(y));
            } else {
                packRow(image.row(y), image.width(), SetBit::White, row.data());
                png_write_row(m_png, row.data());
            }
        }
        png_write_end(m_png, m_info);
    });
}

} // namespace

Result<void> writePng(const Image &image, const PngOptions &options, ByteSink &sink)
{
    Bytes packedRow;
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        packedRow.resize(packedStride(image.width()));
    PngEncoder encoder(sink);
    if (!encoder.ready() || !encoder.write(image, options.dpi, packedRow))
        return encoder.error();
    return {};
}

} // namespace korv
