#pragma once

#include "library/output/document_writer.h"
#include "library/output/tiff_sink.h"

namespace korv {

/// A multi-page TIFF (TIFF 6.0, with the JPEG of Technical Note 2): a JPEG page is one strip that
/// holds the whole JPEG file, lineart is CCITT G4. BigTIFF when the file would pass 4 GiB.
/// JPEG pages must be baseline with plain chroma factors.
class TiffWriter : public DocumentWriter
{
public:
    TiffWriter(ByteSink &sink, const DocumentOptions &options);

    Result<void> addPage(const Page &page) override;
    Result<void> finish() override;

private:
    void describePage(const Page &page);
    void describeJpeg(const Page &page);
    void describeLineart();

    ByteSink &m_output;
    TiffSink m_sink;
    DocumentOptions m_options;
    int m_pages = 0;
};

} // namespace korv
