#pragma once

#include "library/documents/ofd/ofd_xml.h"

namespace korv {

/// Appends the font of the text to the resources of a document.
void addFont(OfdElement &resources, unsigned id);

} // namespace korv
