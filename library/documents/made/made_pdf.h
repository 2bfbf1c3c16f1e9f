#pragma once

#include "library/documents/made/made_document.h"
#include "library/documents/made/pdf_file.h"
#include "library/documents/made/pdf_picture.h"

#include <memory>
#include <utility>
#include <vector>

namespace korv {

/// A page of such a document.
struct MadePdfPage
{
    int number = 0; ///< of its object
    PdfDictionary entries;
    std::vector<DrawnPicture> pictures; ///< one at least
};

/// A PDF that PdfWriter wrote without text. Text comes to it as an incremental update (ISO 32000-1,
/// 7.5.6): the file's bytes stay, and what is new follows them.
class MadePdf : public MadeDocument
{
public:
    /// Errors: -EBADMSG with one of the texts in `refusal`.
    static Result<std::unique_ptr<MadeDocument>> open(ByteView content);

    std::size_t pageCount() const override { return m_pages.size(); }
    ByteView storedPicture(std::size_t page) const override;
    Result<Image> picture(std::size_t page) const override;
    Result<void> write(const AddedText &text, ByteSink &sink) const override;

private:
    explicit MadePdf(PdfFile file)
        : m_file(std::move(file))
    {
    }
    Result<void> readPages();
    Result<MadePdfPage> readPage(int number) const;

    PdfFile m_file;
    std::vector<MadePdfPage> m_pages;
};

} // namespace korv
