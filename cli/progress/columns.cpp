#include "cli/progress/columns.h"

namespace cli {
namespace {

/// How many bytes the character that begins with that one has.
std::size_t sizeOfCharacter(unsigned char first)
{
    if (first < 0xC0)
        return 1;
    if (first < 0xE0)
        return 2;
    return first < 0xF0 ? 3 : 4;
}

/// The scripts that are twice as wide as Latin begin behind U+10FF with Hangul; what is narrow above
/// them, such as dashes, is only cut earlier than need be.
std::size_t columnsOf(const std::string &text, std::size_t at)
{
    const auto first = static_cast<unsigned char>(text[at]);
    const auto second = static_cast<unsigned char>(at + 1 < text.size() ? text[at + 1] : '\0');
    const bool isNarrow = first < 0xE1 || (first == 0xE1 && second < 0x84);
    return isNarrow ? 1 : 2;
}

} // namespace

std::string cutToColumns(const std::string &text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        used += columnsOf(text, at);
        if (used > columns)
            return text.substr(0, at);
        at += sizeOfCharacter(static_cast<unsigned char>(text[at]));
    }
    return text;
}

} // namespace cli
