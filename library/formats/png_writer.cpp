#include "library/formats/png_writer.h"

#include "library/formats/packed_bits.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <limits>

#include <png.h>
#include <zlib.h>

namespace korv {

namespace {

constexpr std::size_t kDataChunk = 128 * 1024; ///< of compressed data

/// How a picture is prepared and packed.
struct Packing
{
    int filter;
    int level;
    int strategy;
};

constexpr Packing kLineart = {PNG_FILTER_NONE, 6, Z_DEFAULT_STRATEGY};
// Above level 1 photographs hardly shrink, but take several times as long.
constexpr Packing kRepeating = {PNG_FILTER_UP, 1, Z_DEFAULT_STRATEGY}; ///< drawings, clean text
constexpr Packing kGrainy = {PNG_FILTER_AVG, 1, Z_RLE}; ///< grain holds nothing to find again

/// Of every so many bands of rows in the upper half one is packed, to find out which way suits a
/// picture; the lower half may still be on its way.
constexpr int kBand = 16;
constexpr int kSampledBand = 32;

/// Counts, for samples.
class CountingSink : public ByteSink
{
public:
    Result<void> write(ByteView bytes) override
    {
        m_size += bytes.size;
        return {};
    }
    Result<void> writeAt(std::uint64_t, ByteView bytes) override { return write(bytes); }
    Result<std::size_t> readAt(std::uint64_t, std::uint8_t *, std::size_t) override
    {
        return std::size_t{0};
    }
    std::uint64_t size() const override { return m_size; }

private:
    std::uint64_t m_size = 0;
};

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
    bool write(const Image &image, const Packing &packing, const PngOptions &options, Bytes &row);
    bool writeSample(const Image &image, const Packing &packing);

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
    void configure(const Image &image, const Packing &packing, int rows,
                   const Resolution &resolution);

    ByteSink &m_sink;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::jmp_buf m_jump{};
    Error m_error{-ENOMEM, "PNG: no memory"};
};

void PngEncoder::configure(const Image &image, const Packing &packing, int rows,
                           const Resolution &resolution)
{
    const bool gray = image.format() == PixelFormat::Gray8;
    const bool bilevel = gray && image.isBilevel();
    png_set_write_fn(m_png, this, onWrite, onFlush);
    png_set_compression_buffer_size(m_png, kDataChunk);
    png_set_compression_level(m_png, packing.level);
    png_set_compression_strategy(m_png, packing.strategy);
    png_set_filter(m_png, PNG_FILTER_TYPE_BASE, packing.filter);
    png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(image.width()),
                 static_cast<png_uint_32>(rows), bilevel ? 1 : 8,
                 gray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const auto perMetre = [](double dpi) {
        return static_cast<png_uint_32>(std::lround(dpi / 0.0254));
    };
    png_set_pHYs(m_png, m_info, perMetre(resolution.x), perMetre(resolution.y),
                 PNG_RESOLUTION_METER);
}

bool PngEncoder::writeSample(const Image &image, const Packing &packing)
{
    constexpr int kStep = kBand * kSampledBand;
    const int bands = std::max(1, (image.height() / 2 + kStep - kBand) / kStep);
    return run([&] {
        configure(image, packing, bands * kBand, 1);
        png_write_info(m_png, m_info);
        for (int band = 0; band < bands; ++band) {
            for (int i = 0; i < kBand; ++i)
                png_write_row(m_png, image.row(band * kStep + i));
        }
        png_write_end(m_png, m_info);
    });
}

bool PngEncoder::write(const Image &image, const Packing &packing, const PngOptions &options,
                       Bytes &row)
{
    return run([&] {
        configure(image, packing, image.height(), options.resolution);
        png_write_info(m_png, m_info);
        for (int y = 0; y < image.height(); ++y) {
            if (options.rows != nullptr && !options.rows->waitFor(y + 1))
                png_error(m_png, "rows");
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

std::uint64_t sampleSize(const Image &image, const Packing &packing)
{
    CountingSink sink;
    PngEncoder encoder(sink);
    return encoder.ready() && encoder.writeSample(image, packing)
        ? sink.size()
        : std::numeric_limits<std::uint64_t>::max();
}

const Packing &packingFor(const Image &image)
{
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        return kLineart;
    if (image.height() < kBand)
        return kRepeating;
    return sampleSize(image, kGrainy) < sampleSize(image, kRepeating) ? kGrainy : kRepeating;
}

} // namespace

Result<void> writePng(const Image &image, const PngOptions &options, ByteSink &sink)
{
    Bytes packedRow;
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        packedRow.resize(packedStride(image.width()));
    if (options.rows != nullptr && !options.rows->waitFor(image.height() / 2 + kBand)
        && !options.rows->waitFor(image.height()))
        return Error{-EBADMSG, "PNG: the picture never became complete"};
    PngEncoder encoder(sink);
    if (!encoder.ready() || !encoder.write(image, packingFor(image), options, packedRow))
        return encoder.error();
    return {};
}

} // namespace korv
