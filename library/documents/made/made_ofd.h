#pragma once

#include "library/documents/made/made_document.h"
#include "library/documents/made/zip_file.h"
#include "library/documents/ofd/ofd_text.h"

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

namespace korv {

/// An OFD that OfdWriter wrote without text. With text it becomes a new archive, in which all files
/// but the lists and the pages keep their bytes.
class MadeOfd : public MadeDocument
{
public:
    /// Errors: -EBADMSG with one of the texts in `refusal`, -ENOMEM.
    static Result<std::unique_ptr<MadeDocument>> open(ByteView content);

    std::size_t pageCount() const override { return m_pages.size(); }
    ByteView storedPicture(std::size_t page) const override;
    Result<Image> picture(std::size_t page) const override;
    Result<void> write(const AddedText &text, ByteSink &sink) const override;

private:
    struct SourcePage
    {
        std::string name; ///< of its file in the archive
        const ZipEntry *picture = nullptr;
        // of the picture, in millimetres
        double left = 0;
        double top = 0;
        double width = 0;
        double height = 0;
    };

    explicit MadeOfd(ZipFile file)
        : m_file(std::move(file))
    {
    }
    Result<void> read();
    Result<void> readPages();
    Result<void> readPage(const std::string &name, const pugi::xml_node &pictures);
    Result<void> readXml(const std::string &name, pugi::xml_document &document) const;
    Result<std::string> pageWithText(const SourcePage &page, const PageText &text, unsigned fontId,
                                     unsigned &lastId) const;

    ZipFile m_file;
    std::vector<SourcePage> m_pages;
    unsigned m_lastId = 0; ///< the highest in the document
};

} // namespace korv
