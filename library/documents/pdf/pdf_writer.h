#pragma once

#include "library/documents/document_writer.h"
#include "library/documents/page_layers.h"
#include "library/documents/pdf/pdf_objects.h"
#include "library/documents/pdf/text_font.h"

#include <map>
#include <string>
#include <vector>

namespace korv {

/// A PDF/A-2b document (ISO 19005-2, so ISO 32000-1) of page pictures: JPEG pages are stored as
/// they are, other pixels as CCITT G4 or deflated, layers one above the other. Colours are sRGB or
/// those of the JPEG's profile. Pixels must be coded in CCITT G4 or as PNG. The text of pages lies
/// invisibly over them, and makes the document a PDF/A-2u. Objects are written front to back, the page
/// tree and the cross-reference table last. Apart from date and identifier the same pages make the
/// same bytes.
class PdfWriter : public DocumentWriter
{
public:
    PdfWriter(ByteSink &sink, const DocumentOptions &options);

    Result<void> addPage(const Page &page) override;
    Result<void> finish() override;

private:
    /// How the pictures of a page get onto it.
    struct PictureUse
    {
        std::string objects; ///< their entries in the page's XObject dictionary
        std::string drawing; ///< operators that fill the unit square with them
    };

    Result<void> begin();
    Result<PictureUse> writePictures(int first, const Page &page);
    Result<PictureUse> writeLayers(int first, const Page &page);
    Result<void> writeLayer(int number, const LayerJpeg &layer, const std::string &more);
    Result<void> writeMask(int number, const InkMask &mask, int width, int height);
    Result<int> writeInk(const LayerJpeg &ink, const InkMask &mask, int width, int height);
    Result<void> writePicture(int number, const Page &page);
    Result<void> writePixels(int number, const Page &page);
    Result<void> writeDrawing(int number, const std::string &picture, const std::string &text);
    std::string textOf(const Page &page);
    Result<int> profileObject(const Page &page);
    Result<void> writePageTree(int number);
    Result<void> writeMetadata(int number);
    Result<void> writeOutputIntent(int number);
    bool hasText() const { return m_fontNumber != 0; }
    std::string information() const;

    ByteSink &m_sink;
    PdfObjects m_objects;
    DocumentOptions m_options;
    std::string m_id; ///< 32 hexadecimal digits
    std::vector<int> m_pages; ///< object numbers
    std::map<Bytes, int> m_profiles; ///< the last ones, with their object numbers
    int m_pageTree = 0;
    TextFont m_font;
    int m_fontNumber = 0; ///< 0 until a page has text
};

} // namespace korv
