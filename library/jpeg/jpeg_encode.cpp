#include "library/jpeg/jpeg.h"

#include "library/jpeg/bilevel_jpeg.h"
#include "library/jpeg/jpeg_destination.h"
#include "library/jpeg/jpeg_head.h"
#include "library/jpeg/jpeg_trap.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace korv::jpeg {

namespace {

struct Factors
{
    int across;
    int down;
};

Factors factorsOf(Subsampling subsampling)
{
    switch (subsampling) {
    case Subsampling::S422:
        return {2, 1};
    case Subsampling::S440:
        return {1, 2};
    case Subsampling::S420:
        return {2, 2};
    case Subsampling::S411:
        return {4, 1};
    case Subsampling::S444:
    case Subsampling::Gray:
        break;
    }
    return {1, 1};
}

class Compressor
{
public:
    Compressor()
    {
        m_state.err = m_trap.manager();
        m_state.client_data = &m_trap;
    }
    ~Compressor() { jpeg_destroy_compress(&m_state); }
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    Error error() const { return m_trap.error(); }
    bool encode(const Image &image, const EncodeOptions &options, ByteDestination &destination);

private:
    void configure(const Image &image, const EncodeOptions &options);

    ErrorTrap m_trap;
    jpeg_compress_struct m_state{};
};

void Compressor::configure(const Image &image, const EncodeOptions &options)
{
    const bool gray = image.format() == PixelFormat::Gray8;
    m_state.image_width = static_cast<JDIMENSION>(image.width());
    m_state.image_height = static_cast<JDIMENSION>(image.height());
    m_state.input_components = image.channels();
    m_state.in_color_space = gray ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&m_state);
    if (!gray && options.subsampling == Subsampling::Gray)
        jpeg_set_colorspace(&m_state, JCS_GRAYSCALE);
    jpeg_set_quality(&m_state, options.quality, TRUE);
    if (m_state.num_components == 3) {
        const Factors factors = factorsOf(options.subsampling);
        m_state.comp_info[0].h_samp_factor = factors.across;
        m_state.comp_info[0].v_samp_factor = factors.down;
    } else {
        // libtiff refuses gray pictures with other factors
        m_state.comp_info[0].h_samp_factor = 1;
        m_state.comp_info[0].v_samp_factor = 1;
    }
    if (options.progressive)
        jpeg_simple_progression(&m_state);
    stateDensity(m_state, image.resolution());
}

bool Compressor::encode(const Image &image, const EncodeOptions &options,
                        ByteDestination &destination)
{
    constexpr int kRowsAtOnce = 16;
    return m_trap.run([&] {
        jpeg_create_compress(&m_state);
        m_state.client_data = &m_trap;
        m_state.dest = destination.manager();
        configure(image, options);
        jpeg_start_compress(&m_state, TRUE);
        writeExif(m_state, options.exif);
        JSAMPROW rows[kRowsAtOnce];
        while (m_state.next_scanline < m_state.image_height) {
            const int first = static_cast<int>(m_state.next_scanline);
            const int count = std::min(kRowsAtOnce, image.height() - first);
            for (int i = 0; i < count; ++i) {
                // libjpeg's row type is not const, though the encoder only reads
                rows[i] = const_cast<JSAMPROW>(image.row(first + i));
            }
            jpeg_write_scanlines(&m_state, rows, static_cast<JDIMENSION>(count));
        }
        jpeg_finish_compress(&m_state);
    });
}

} // namespace

Result<Bytes> encode(const Image &image, const EncodeOptions &options)
{
    if (image.isBilevel() && image.format() == PixelFormat::Gray8)
        return encodeBilevel(image, options.exif);
    try {
        const std::size_t pixelBytes = image.stride() * static_cast<std::size_t>(image.height());
        ByteDestination destination(pixelBytes / 8);
        Compressor compressor;
        if (!compressor.encode(image, options, destination))
            return compressor.error();
        return destination.take();
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "JPEG: no memory for the encoded picture"};
    }
}

} // namespace korv::jpeg
