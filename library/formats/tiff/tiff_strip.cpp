#include "library/formats/tiff/tiff_strip.h"

#include "library/files/memory_sink.h"
#include "library/formats/packed_bits.h"
#include "library/formats/tiff/tiff_sink.h"

namespace korv {

namespace {

/// The only strip of a TIFF of one picture, coded by libtiff.
class StripEncoder
{
public:
    StripEncoder(const Image &image, int bits, std::uint16_t compression)
        : m_sink(m_memory)
    {
        TIFF *tiff = m_sink.handle();
        if (tiff == nullptr)
            return;
        const bool colour = image.format() == PixelFormat::Rgb24;
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.width()));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.height()));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, image.channels());
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
        // which colour a bit means is the reader's matter; the coders only see bits
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, colour ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(image.height()));
        if (bits == 8)
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }

    Result<Bytes> encode(ByteView pixels)
    {
        TIFF *tiff = m_sink.handle();
        // libtiff's pointer is not const, but the pixels are only read
        void *data = const_cast<std::uint8_t *>(pixels.data);
        if (tiff == nullptr
            || TIFFWriteEncodedStrip(tiff, 0, data, static_cast<tmsize_t>(pixels.size)) < 0
            || TIFFFlushData(tiff) == 0)
            return m_sink.error();
        const ByteView all = m_memory.bytes();
        const std::uint64_t at = TIFFGetStrileOffset(tiff, 0);
        const std::uint64_t size = TIFFGetStrileByteCount(tiff, 0);
        if (at > all.size || size > all.size - at)
            return m_sink.error();
        return Bytes(all.begin() + at, all.begin() + at + size);
    }

private:
    MemorySink m_memory;
    TiffSink m_sink;
};

} // namespace

Result<Bytes> encodeCcittG4(const Image &image)
{
    const Bytes packed = packRows(image, SetBit::Black);
    return StripEncoder(image, 1, COMPRESSION_CCITTFAX4).encode(packed);
}

Result<Bytes> encodeDeflate(const Image &image)
{
    if (image.isBilevel() && image.format() == PixelFormat::Gray8) {
        const Bytes packed = packRows(image, SetBit::White);
        return StripEncoder(image, 1, COMPRESSION_ADOBE_DEFLATE).encode(packed);
    }
    const std::size_t size = image.stride() * static_cast<std::size_t>(image.height());
    return StripEncoder(image, 8, COMPRESSION_ADOBE_DEFLATE).encode({image.pixels(), size});
}

} // namespace korv
