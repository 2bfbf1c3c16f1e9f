#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/files/byte_sink.h"
#include "library/image/image.h"
#include "library/text/page_text.h"

#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace korv {

/// What is said of the text that a document gets.
struct AddedText
{
    std::vector<std::shared_ptr<const PageText>> pages; ///< one a page; null: it gets none
    std::string language; ///< as BCP 47 names it; empty: not known
    std::time_t added = 0;
};

/// A document that this library made earlier, and whose pages have no text. Its content is borrowed.
class MadeDocument
{
public:
    virtual ~MadeDocument() = default;

    virtual std::size_t pageCount() const = 0;

    /// The stored bytes of a page's picture, which tell it apart from others.
    virtual ByteView storedPicture(std::size_t page) const = 0;

    /// What a page shows, in gray. Its resolution is known. Errors: -EBADMSG, -EFBIG, -ENOMEM.
    virtual Result<Image> picture(std::size_t page) const = 0;

    /// Writes the document once more, with text. Errors: what the sink answered, -EFBIG, -ENOMEM.
    virtual Result<void> write(const AddedText &text, ByteSink &sink) const = 0;
};

} // namespace korv
