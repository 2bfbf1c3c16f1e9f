#pragma once

#include "library/image/sheet_size.h"

#include <memory>
#include <optional>
#include <string>

namespace korv {

class TextRecogniser;

/// What a document can have that its pages do not say.
struct DocumentSettings
{
    std::string title; ///< UTF-8; empty: the file's name
    std::optional<SheetSize> sheet; ///< of all pages; none: each page is as large as its picture
    bool clean = false; ///< the light on the pages is evened out, see cleanPaper()
    /// Recognises the writing on the pages, for documents that can have text; null: nobody does.
    std::shared_ptr<TextRecogniser> text = nullptr;
    /// Finds out how pages lie that get no text, so that they are turned upright; null: nobody does.
    std::shared_ptr<TextRecogniser> upright = nullptr;
    /// Pages of writing become layers where the format has any, see takeApart().
    bool compact = false;
    /// Where to say how far the document has come, see ProgressFile; empty: nowhere.
    std::string progressFile = {};
};

/// What KORV_CAMERA_TITLE and KORV_CAMERA_PAGE_SIZE say goes before `settings`. A size that is none
/// is reported on standard error and counts as not set.
DocumentSettings withEnvironment(DocumentSettings settings);

} // namespace korv
