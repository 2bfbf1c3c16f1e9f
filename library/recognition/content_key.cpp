#include "library/recognition/content_key.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace korv {

namespace {

/// Spreads every bit over all others: multiplications by odd numbers and shifts, each of which can
/// be undone, so that no two numbers become one.
std::uint64_t mixed(std::uint64_t number)
{
    number ^= number >> 32;
    number *= 0x9E3779B97F4A7C15U;
    number ^= number >> 29;
    number *= 0xD6E8FEB86659FD93U;
    return number ^ number >> 32;
}

} // namespace

ContentKey contentKeyOf(ByteView content, std::uint64_t part)
{
    std::uint64_t first = mixed(content.size + 1);
    std::uint64_t second = mixed(part ^ 0xA0761D6478BD642FU);
    for (std::size_t at = 0; at < content.size; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        const std::size_t left = content.size - at;
        std::memcpy(&word, content.data + at, left < sizeof word ? left : sizeof word);
        // the two are different functions of all words before
        first = (first ^ word) * 0xE7037ED1A0B428DBU;
        first ^= first >> 31;
        second = (second << 27 | second >> 37) + word;
        second *= 0x8EBC6AF09C88C6E3U;
    }
    return {mixed(first + second), mixed(second ^ first << 17)};
}

std::string hexadecimal(const ContentKey &key)
{
    char text[40];
    std::snprintf(text, sizeof text, "%016" PRIx64 "%016" PRIx64, key.first, key.second);
    return text;
}

} // namespace korv
