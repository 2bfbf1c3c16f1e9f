#pragma once

#include "library/documents/document_writer.h"
#include "library/documents/ofd/ofd_xml.h"
#include "library/documents/ofd/zip_writer.h"

#include <vector>

namespace korv {

/// An OFD document (GB/T 33190-2016) of page pictures: JPEG pages are stored as they are, other
/// pixels as PNG, which they must be coded as. The text of pages lies under the pictures. Pages are
/// written as they come, the lists that name them last.
class OfdWriter : public DocumentWriter
{
public:
    OfdWriter(ByteSink &sink, const DocumentOptions &options);

    Result<void> addPage(const Page &page) override;
    Result<void> finish() override;

private:
    struct Entry
    {
        unsigned pageId = 0;
        unsigned pictureId = 0;
        bool png = false;
    };
    /// Only while its page is written: where the picture lies on it, in millimetres.
    struct PlacedEntry : Entry
    {
        std::string left = "0";
        std::string top = "0";
        std::string width;
        std::string height;
    };

    Result<void> writePicture(const Page &page, std::size_t index);
    Result<void> writePage(std::size_t index, unsigned layerId, unsigned objectId,
                           const PlacedEntry &entry, const std::string &box, const Page &page);
    void addText(OfdElement &layer, const Page &page);
    Result<void> writePictureList();
    Result<void> writePublicResources();
    Result<void> writeDocument();
    Result<void> writeEntryPoint();
    unsigned nextId() { return ++m_lastId; }

    ZipWriter m_zip;
    DocumentOptions m_options;
    std::vector<Entry> m_entries;
    std::string m_box; ///< of the first page, millimetres
    unsigned m_fontId = 0; ///< 0 until a page has text
    unsigned m_lastId = 0; ///< ids share one number space in the whole document
};

} // namespace korv
