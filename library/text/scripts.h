#pragma once

#include <string>

namespace korv {

/// Whether a character is as wide as it is high: Chinese characters, kana, Hangul, and the
/// punctuation that goes with them (East Asian Width "W" and "F" of Unicode's UAX #11, by blocks).
bool isWideCharacter(char32_t character);

/// Whether it is a mark such as U+3002 or U+FF0C that stands at the left of a wide character's room.
bool isWidePunctuation(char32_t character);

/// How wide characters are in a text layer, in relation to one another: wide ones are 1.
inline constexpr double kNarrowWidth = 0.55;
inline double characterWidth(char32_t character)
{
    return isWideCharacter(character) ? 1 : kNarrowWidth;
}

/// Whether no space belongs between two words, both not empty, because characters of Chinese or
/// Japanese meet. Korean words have spaces between them.
bool isWrittenWithoutSpaces(const std::string &validBefore, const std::string &validBehind);

/// The characters of a valid text.
std::u32string charactersOf(const std::string &validText);

} // namespace korv
