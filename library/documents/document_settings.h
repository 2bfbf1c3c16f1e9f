#pragma once

#include "library/documents/page.h"

#include <optional>
#include <string>

namespace korv {

/// What a document can have that its pages do not say.
struct DocumentSettings
{
    std::string title; ///< UTF-8; empty: the file's name
    std::optional<SheetSize> sheet; ///< of all pages; none: each page is as large as its picture
};

/// "A3", "A4", "A5", "letter", "card" (ISO/IEC 7810 ID-1), in any case, or WIDTHxHEIGHT in
/// millimetres, "100x62.5", of 2 to 5000 a side. Nothing for any other text.
std::optional<SheetSize> sheetOf(const std::string &text);

/// From KORV_CAMERA_TITLE and KORV_CAMERA_PAGE_SIZE. A size that is none is told on standard error
/// and counts as not set.
DocumentSettings settingsFromEnvironment();

} // namespace korv
