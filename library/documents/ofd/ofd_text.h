#pragma once

#include "library/documents/ofd/ofd_xml.h"
#include "library/text/page_text.h"

#include <functional>

namespace korv {

/// Where a picture lies on its page.
struct OfdPlace
{
    double left = 0; ///< millimetres
    double top = 0;
    double pixelWidth = 0; ///< millimetres
    double pixelHeight = 0;
};

/// Appends the text of a picture to a layer: an object for each line, with a place for every
/// character. `nextId` gives each object its number.
void addTextObjects(OfdElement &layer, const PageText &text, const OfdPlace &place, unsigned fontId,
                    const std::function<unsigned()> &nextId);

} // namespace korv
