#include "library/values/utf8.h"

#include <iterator>

#include <utf8.h>

namespace korv {

namespace {

bool isXmlCharacter(char32_t character)
{
    return character >= 0x20 ? character != 0xFFFE && character != 0xFFFF
                             : character == '\t' || character == '\n' || character == '\r';
}

} // namespace

std::string validUtf8(const std::string &text, const std::string &replacement)
{
    std::string valid;
    for (auto at = text.begin();;) {
        const auto invalid = ::utf8::find_invalid(at, text.end());
        valid.append(at, invalid);
        if (invalid == text.end())
            return valid;
        // utf8::replace_invalid() would put one replacement for several bytes
        valid += replacement;
        at = std::next(invalid);
    }
}

std::string cleanUtf8(const std::string &text)
{
    std::string clean;
    const std::string valid = validUtf8(text);
    for (auto at = valid.begin(); at != valid.end();) {
        const auto start = at;
        if (isXmlCharacter(::utf8::unchecked::next(at)))
            clean.append(start, at);
        else
            clean += kReplacementCharacter;
    }
    return clean;
}

std::string firstCharacters(const std::string &validText, std::size_t maxSize)
{
    const std::string bytes = validText.substr(0, maxSize);
    // only the character that the cut has broken is invalid
    return {bytes.begin(), ::utf8::find_invalid(bytes.begin(), bytes.end())};
}

std::u16string utf16(const std::string &validText)
{
    std::u16string units;
    ::utf8::unchecked::utf8to16(validText.begin(), validText.end(), std::back_inserter(units));
    return units;
}

std::string utf8Of(const std::u32string &characters)
{
    std::string text;
    for (const char32_t character : characters) {
        const bool isCharacter = character < 0x110000 && (character < 0xD800 || character > 0xDFFF);
        ::utf8::unchecked::append(isCharacter ? character : 0xFFFD, std::back_inserter(text));
    }
    return text;
}

} // namespace korv
