#pragma once

#include "library/base/result.h"
#include "library/text/page_text.h"

#include <string>

namespace korv {

/// Reads what Tesseract writes about one picture as TSV (the words with their boxes), followed by
/// the same as plain text, which alone says where there are spaces between words. Where the two do
/// not agree, spaces are guessed from the script. Bytes that are no UTF-8 become U+FFFD; words without
/// a box in the picture are left out.
/// Errors: -EBADMSG no such output.
Result<PageText> readTesseractOutput(const std::string &output);

} // namespace korv
