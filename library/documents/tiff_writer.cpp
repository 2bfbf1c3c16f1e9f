#include "library/documents/tiff_writer.h"

#include "library/formats/tiff/tiff_directories.h"
#include "library/jpeg/rework/jpeg_reuse.h"
#include "library/values/dates.h"

#include <algorithm>

namespace korv {

namespace {

constexpr int kMaxPages = 0xFFFF; ///< the tag holds 16 bits

/// A total of 0 means that it is not known.
int statedTotal(int pages)
{
    return pages > kMaxPages ? 0 : pages;
}

} // namespace

TiffWriter::TiffWriter(ByteSink &sink, const DocumentOptions &options, std::uint64_t largestClassic)
    : m_output(sink)
    , m_sink(sink)
    , m_options(options)
    , m_largestClassic(largestClassic)
{
}

Result<void> TiffWriter::makeRoomFor(std::size_t needed)
{
    if (m_sink.handle() == nullptr)
        return m_sink.error();
    if (m_big || m_output.size() + needed <= m_largestClassic)
        return {};
    m_big = true;
    return m_sink.widen(m_pages);
}

void TiffWriter::describePage(const Page &page)
{
    TIFF *tiff = m_sink.handle();
    const auto height = static_cast<std::uint32_t>(page.height);
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(page.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, height);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, page.resolution.x);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, page.resolution.y);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tiff, TIFFTAG_PAGENUMBER, std::min(m_pages, kMaxPages),
                 statedTotal(m_options.pageCount));
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, kProducer);
    TIFFSetField(tiff, TIFFTAG_DATETIME, tiffDate(m_options.created).c_str());
    if (!m_options.title.empty())
        TIFFSetField(tiff, TIFFTAG_DOCUMENTNAME, m_options.title.c_str());
}

void TiffWriter::describeJpeg(const Page &page)
{
    TIFF *tiff = m_sink.handle();
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.info.components);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_JPEG);
    if (page.info.components == 1) {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    } else if (page.info.colourModel == jpeg::ColourModel::Rgb) {
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    } else {
        static const float kFullRange[] = {0, 255, 128, 255, 128, 255};
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
        TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, page.info.lumaHorizontal,
                     page.info.lumaVertical);
        TIFFSetField(tiff, TIFFTAG_REFERENCEBLACKWHITE, kFullRange);
    }
    if (!page.profile.empty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(page.profile.size),
                     page.profile.data);
}

void TiffWriter::describePixels(const Page &page)
{
    TIFF *tiff = m_sink.handle();
    const bool colour = page.pixels->format() == PixelFormat::Rgb24;
    const bool bits = page.pixels->isBilevel() && !colour;
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits ? 1 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, colour ? 3 : 1);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    if (page.coding == PixelCoding::CcittG4) {
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_GROUP4OPTIONS, 0);
        return;
    }
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, colour ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    if (!bits)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
}

Result<void> TiffWriter::addPage(const Page &page)
{
    const ByteView strip = page.pixels != nullptr ? page.coded : page.jpeg;
    // libtiff would find out when half of the page is written
    if (page.pixels == nullptr && !fitsTiff(page.info))
        return Error{kUnfitPage, "TIFF: a kind of JPEG that it cannot hold"};
    if (Result<void> room = makeRoomFor(strip.size + page.profile.size); !room)
        return room;
    if (page.pixels != nullptr)
        describePixels(page);
    else
        describeJpeg(page);
    describePage(page);
    TIFF *tiff = m_sink.handle();
    // libtiff's pointer is not const, but raw strips are only read
    void *data = const_cast<std::uint8_t *>(strip.data);
    if (TIFFWriteRawStrip(tiff, 0, data, static_cast<tmsize_t>(strip.size)) < 0
        || TIFFWriteDirectory(tiff) == 0)
        return m_sink.error();
    ++m_pages;
    return {};
}

Result<void> TiffWriter::finish()
{
    Result<void> closed = m_sink.close();
    if (!closed || m_pages == m_options.pageCount)
        return closed;
    return patchPageTotal(m_output, static_cast<std::uint16_t>(statedTotal(m_pages)));
}

} // namespace korv
