#include "library/values/utf8.h"

#include <cstddef>

namespace korv {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

unsigned byteAt(const std::string &text, std::size_t at)
{
    return static_cast<unsigned char>(text[at]);
}

int followersOf(unsigned first)
{
    if (first < 0x80)
        return 0;
    if (first >= 0xC2 && first < 0xE0)
        return 1;
    if (first >= 0xE0 && first < 0xF0)
        return 2;
    return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

bool isScalar(char32_t letter, int followers)
{
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    return letter >= kSmallest[followers] && letter <= 0x10FFFF
        && (letter < 0xD800 || letter > 0xDFFF);
}

/// Decodes one letter and moves on; a broken sequence takes one byte.
char32_t nextLetter(const std::string &text, std::size_t &at)
{
    const unsigned first = byteAt(text, at);
    const int followers = followersOf(first);
    if (followers <= 0 || at + static_cast<std::size_t>(followers) >= text.size()) {
        ++at;
        return followers == 0 ? first : kReplacement;
    }
    char32_t letter = first & (0x3FU >> followers);
    for (int i = 1; i <= followers; ++i) {
        const unsigned next = byteAt(text, at + static_cast<std::size_t>(i));
        if ((next & 0xC0) != 0x80) {
            ++at;
            return kReplacement;
        }
        letter = letter << 6 | (next & 0x3F);
    }
    if (!isScalar(letter, followers)) {
        ++at;
        return kReplacement;
    }
    at += static_cast<std::size_t>(followers) + 1;
    return letter;
}

bool isXmlLetter(char32_t letter)
{
    return letter >= 0x20 ? letter != 0xFFFE && letter != 0xFFFF
                          : letter == '\t' || letter == '\n' || letter == '\r';
}

void append(std::string &text, char32_t letter)
{
    const auto byte = [&](char32_t value) { text += static_cast<char>(value); };
    if (letter < 0x80) {
        byte(letter);
    } else if (letter < 0x800) {
        byte(0xC0 | letter >> 6);
        byte(0x80 | (letter & 0x3F));
    } else if (letter < 0x10000) {
        byte(0xE0 | letter >> 12);
        byte(0x80 | (letter >> 6 & 0x3F));
        byte(0x80 | (letter & 0x3F));
    } else {
        byte(0xF0 | letter >> 18);
        byte(0x80 | (letter >> 12 & 0x3F));
        byte(0x80 | (letter >> 6 & 0x3F));
        byte(0x80 | (letter & 0x3F));
    }
}

} // namespace

std::u32string decodeUtf8(const std::string &text)
{
    std::u32string letters;
    for (std::size_t at = 0; at < text.size();)
        letters += nextLetter(text, at);
    return letters;
}

std::string cleanUtf8(const std::string &text)
{
    std::string clean;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t letter = nextLetter(text, at);
        append(clean, isXmlLetter(letter) ? letter : kReplacement);
    }
    return clean;
}

} // namespace korv
