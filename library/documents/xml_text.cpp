#include "library/documents/xml_text.h"

#include <sstream>

namespace korv {

std::string xmlText(const pugi::xml_document &document)
{
    std::ostringstream stream;
    document.save(stream, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    std::string text = stream.str();
    // pugixml 1.13 writes a carriage return as it is, and readers of XML would make a line feed of
    // it (XML 1.0, 2.11). Markup holds none.
    for (std::size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at))
        text.replace(at, 1, "&#13;");
    return text;
}

} // namespace korv
