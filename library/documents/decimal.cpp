#include "library/documents/decimal.h"

#include <charconv>

namespace korv {

std::string decimal(double value, int places)
{
    char buffer[64];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, places);
    if (error != std::errc())
        return "0";
    std::string text(buffer, end);
    if (text.find('.') == std::string::npos)
        return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text;
}

} // namespace korv
