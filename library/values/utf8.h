#pragma once

#include <cstddef>
#include <string>

namespace korv {

/// U+FFFD, which takes the place of what is not readable.
inline constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";

/// The text with `replacement` for every byte that belongs to no character of UTF-8 (RFC 3629).
std::string validUtf8(const std::string &text,
                      const std::string &replacement = kReplacementCharacter);

/// The text with U+FFFD for everything that is not UTF-8 or that XML 1.0 does not allow.
std::string cleanUtf8(const std::string &text);

/// The first characters of a valid text, as many as have room in `maxSize` bytes.
std::string firstCharacters(const std::string &validText, std::size_t maxSize);

/// A valid text in UTF-16.
std::u16string utf16(const std::string &validText);

/// Characters as UTF-8; U+FFFD for what is none.
std::string utf8Of(const std::u32string &characters);

} // namespace korv
