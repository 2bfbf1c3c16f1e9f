#include "library/text/scripts.h"

#include "library/values/utf8.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace korv {

namespace {

struct Range
{
    char32_t first;
    char32_t last;
};

constexpr Range kWide[] = {
    {0x1100, 0x115F}, ///< Hangul Jamo
    {0x2E80, 0x303E}, ///< radicals, punctuation
    {0x3041, 0xA4CF}, ///< kana, bopomofo, unified ideographs, Yi
    {0xA960, 0xA97F}, ///< Hangul Jamo Extended-A
    {0xAC00, 0xD7A3}, ///< Hangul syllables
    {0xF900, 0xFAFF}, ///< compatibility ideographs
    {0xFE30, 0xFE6F}, ///< compatibility and small forms
    {0xFF00, 0xFF60}, ///< fullwidth forms
    {0xFFE0, 0xFFE6}, ///< fullwidth signs
    {0x1F300, 0x1FAFF}, ///< pictographs
    {0x20000, 0x3FFFD}, ///< further ideographs
};

constexpr Range kHangul[] = {{0x1100, 0x115F}, {0xA960, 0xA97F}, {0xAC00, 0xD7A3}};

template <std::size_t Count> bool isIn(const Range (&ranges)[Count], char32_t character)
{
    return std::any_of(std::begin(ranges), std::end(ranges), [=](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

} // namespace

bool isWideCharacter(char32_t character)
{
    return isIn(kWide, character);
}

bool isWidePunctuation(char32_t character)
{
    constexpr std::u32string_view kMarks = U"、。〉》」』】〕！），．：；？］｝";
    return kMarks.find(character) != std::u32string_view::npos;
}

bool isWrittenWithoutSpaces(const std::string &validBefore, const std::string &validBehind)
{
    const char32_t before = charactersOf(validBefore).back();
    const char32_t behind = charactersOf(validBehind).front();
    const auto hasNoSpaces = [](char32_t character) {
        return isWideCharacter(character) && !isIn(kHangul, character);
    };
    return hasNoSpaces(before) && hasNoSpaces(behind);
}

std::u32string charactersOf(const std::string &validText)
{
    std::u32string characters;
    const std::u16string units = utf16(validText);
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t unit = units[i];
        const bool isPair = unit >= 0xD800 && unit < 0xDC00 && i + 1 < units.size();
        characters +=
            isPair ? 0x10000 + ((unit - 0xD800) << 10) + (char32_t{units[++i]} - 0xDC00) : unit;
    }
    return characters;
}

} // namespace korv
