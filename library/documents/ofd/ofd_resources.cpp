#include "library/documents/ofd/ofd_resources.h"

namespace korv {

void addFont(OfdElement &resources, unsigned id)
{
    // a font that every reader of Chinese documents has, or knows what to take for
    resources.child("Fonts")
        .child("Font")
        .attribute("ID", id)
        .attribute("FontName", "宋体")
        .attribute("FamilyName", "宋体");
}

} // namespace korv
