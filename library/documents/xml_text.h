#pragma once

#include <new>
#include <string>

#include <pugixml.hpp>

namespace korv {

/// What a call of pugixml answered, which is nothing where it has no memory: std::bad_alloc then.
template <typename Answer> Answer xmlAnswer(Answer answer)
{
    if (!answer)
        throw std::bad_alloc();
    return answer;
}

/// The nodes of a document as UTF-8, without a byte order mark and without blanks between them.
std::string xmlText(const pugi::xml_document &document);

} // namespace korv
