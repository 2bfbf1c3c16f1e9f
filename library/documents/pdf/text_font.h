#pragma once

#include "library/base/bytes.h"

#include <array>
#include <string>
#include <vector>

namespace korv {

/// The font of text that nobody sees: every character is an empty glyph, as wide as characterWidth()
/// says. A code is two bytes (Identity-H), mostly those of the character itself, so that a document
/// needs neither a list of its characters nor glyphs for them. Remembers what was coded.
class TextFont
{
public:
    /// In thousandths of the font's size, as its objects say it; a line is as high as the size.
    static constexpr int kAscent = 800;
    static constexpr int kDescent = -200;

    /// The codes of characters. What has no code becomes U+FFFD.
    std::string encode(const std::u32string &characters);
    /// Width of coded characters, in relation to the font's size.
    static double widthOf(const std::string &codes);

    /// What the codes used so far mean: a ToUnicode CMap (ISO 32000-1, 9.10.3).
    std::string toUnicode() const;
    /// The array of widths that differ from kDefaultWidth (9.7.4.3).
    static std::string widths();
    static int defaultWidth();
    /// Which glyph a code has (9.7.4.2).
    static Bytes glyphs();
    /// The font itself: a TrueType file of less than 300 bytes.
    static Bytes file();

private:
    unsigned codeOf(char32_t character);

    std::array<bool, 256> m_usedRows{}; ///< by a code's upper byte
    std::vector<char32_t> m_far; ///< characters above U+FFFF; the codes of surrogates are theirs
};

} // namespace korv
