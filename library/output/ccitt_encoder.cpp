#include "library/output/ccitt_encoder.h"

#include "library/output/memory_sink.h"
#include "library/output/packed_bits.h"
#include "library/output/tiff_sink.h"

namespace korv {

Result<Bytes> encodeCcittG4(const Image &image)
{
    MemorySink memory;
    TiffSink sink(memory);
    TIFF *tiff = sink.handle();
    if (tiff == nullptr)
        return sink.error();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.width()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.height()));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(image.height()));

    Bytes packed = packRows(image, SetBit::Black);
    if (TIFFWriteEncodedStrip(tiff, 0, packed.data(), static_cast<tmsize_t>(packed.size())) < 0
        || TIFFFlushData(tiff) == 0)
        return sink.error();
    const ByteView all = memory.bytes();
    const std::uint64_t at = TIFFGetStrileOffset(tiff, 0);
    const std::uint64_t size = TIFFGetStrileByteCount(tiff, 0);
    if (at > all.size || size > all.size - at)
        return sink.error();
    return Bytes(all.begin() + at, all.begin() + at + size);
}

Result<ByteView> ccittG4Of(const Page &page, Bytes &own)
{
    if (!page.codedLineart.empty())
        return page.codedLineart;
    Result<Bytes> coded = encodeCcittG4(*page.lineart);
    if (!coded)
        return coded.error();
    own = std::move(coded).value();
    return ByteView(own);
}

} // namespace korv
