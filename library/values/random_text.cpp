#include "library/values/random_text.h"

#include <random>

namespace korv {

std::string randomText(std::size_t length, std::string_view letters)
{
    std::random_device random;
    std::uniform_int_distribution<std::size_t> letter(0, letters.size() - 1);
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += letters[letter(random)];
    return text;
}

std::string randomHex(std::size_t bytes)
{
    return randomText(2 * bytes, "0123456789abcdef");
}

} // namespace korv
