#pragma once

#include "library/base/result.h"
#include "library/documents/pdf/pdf_objects.h"
#include "library/documents/pdf/text_font.h"

namespace korv {

/// Writes the font as object `number`, and the objects that belong to it (ISO 32000-1, 9.7), once all
/// text has been coded. Errors: those of PdfObjects.
Result<void> writeTextFont(PdfObjects &objects, int number, const TextFont &font);

} // namespace korv
