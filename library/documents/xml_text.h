#pragma once

#include <string>

#include <pugixml.hpp>

namespace korv {

/// The nodes of a document as UTF-8, without a byte order mark and without blanks between them.
std::string xmlText(const pugi::xml_document &document);

} // namespace korv
