#pragma once

#include "library/base/result.h"
#include "library/documents/page.h"
#include "library/files/byte_sink.h"

#include <cerrno>
#include <ctime>
#include <memory>
#include <string>

namespace korv {

struct DocumentOptions
{
    std::string title; ///< UTF-8; empty for none
    std::string language; ///< of the pages' text, as BCP 47 names it; empty: not known
    std::time_t created = 0;
    int pageCount = 0; ///< 0 when not known beforehand
};

/// What a writer answers for a page that its format does not take.
inline constexpr int kUnfitPage = -EBADMSG;

/// Writes pages as they come; memory does not grow with their number but for a few bytes each.
class DocumentWriter
{
public:
    virtual ~DocumentWriter() = default;

    /// Errors: kUnfitPage: this page cannot stand in such a document, the others can go on;
    /// otherwise what the sink answered, which ends the document.
    virtual Result<void> addPage(const Page &page) = 0;

    /// Ends the document; call it once, after at least one page.
    virtual Result<void> finish() = 0;
};

/// Stands in the documents as the program that made them.
inline constexpr char kProducer[] = "Korv Plixo camera library";

} // namespace korv
