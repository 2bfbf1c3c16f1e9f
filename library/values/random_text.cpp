#include "library/values/random_text.h"

#include <random>

namespace korv {

std::string randomHex(int bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::random_device random;
    std::uniform_int_distribution<std::size_t> digit(0, 15);
    std::string text;
    for (int i = 0; i < 2 * bytes; ++i)
        text += kDigits[digit(random)];
    return text;
}

} // namespace korv
