#pragma once

#include "library/documents/pdf/text_font.h"
#include "library/text/page_text.h"

#include <string>

namespace korv {

/// The name of the font in a page's resources.
inline constexpr char kTextFontName[] = "F0";

/// The operators (ISO 32000-1, 9) that put a page's text invisibly where its picture shows it. Unit is
/// the picture's pixel, and the picture's lower left corner is 0 0. Empty without words.
std::string textOperators(const PageText &text, TextFont &font);

} // namespace korv
