#pragma once

#include "library/image/sheet_size.h"

#include <optional>
#include <string>

namespace korv {

/// What a document can have that its pages do not say.
struct DocumentSettings
{
    std::string title; ///< UTF-8; empty: the file's name
    std::optional<SheetSize> sheet; ///< of all pages; none: each page is as large as its picture
    bool clean = false; ///< the light on the pages is evened out, see cleanPaper()
    bool compact =
        false; ///< pages of writing become layers where the format has any, see takeApart()
};

/// What KORV_CAMERA_TITLE and KORV_CAMERA_PAGE_SIZE say goes before `settings`. A size that is none
/// is reported on standard error and counts as not set.
DocumentSettings withEnvironment(DocumentSettings settings);

} // namespace korv
