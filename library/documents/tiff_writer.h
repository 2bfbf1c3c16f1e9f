#pragma once

#include "library/documents/document_writer.h"
#include "library/formats/tiff/tiff_sink.h"

namespace korv {

/// A multi-page TIFF (TIFF 6.0, with the JPEG of Technical Note 2): a JPEG page is one strip that
/// holds the whole JPEG file, other pixels are CCITT G4 or deflated, as they must be coded. BigTIFF
/// from the page on that would take the file past 4 GiB. JPEG pages must be baseline, with chroma
/// factors of 1 and luma factors of 1, 2 or 4.
class TiffWriter : public DocumentWriter
{
public:
    /// A page that would end behind `largestClassic` makes a BigTIFF of the file.
    TiffWriter(ByteSink &sink, const DocumentOptions &options,
               std::uint64_t largestClassic = kMaxClassicSize);

    Result<void> addPage(const Page &page) override;
    Result<void> finish() override;

private:
    // what stands behind the last page's picture must have its place below 4 GiB as well
    static constexpr std::uint64_t kMaxClassicSize = (std::uint64_t{4} << 30) - (1U << 16);

    Result<void> makeRoomFor(std::size_t needed);
    void describePage(const Page &page);
    void describeJpeg(const Page &page);
    void describePixels(const Page &page);

    ByteSink &m_output;
    TiffSink m_sink;
    DocumentOptions m_options;
    const std::uint64_t m_largestClassic;
    bool m_big = false;
    int m_pages = 0;
};

} // namespace korv
