#include "cli/base/localtime.h"

#include <array>
#include <ctime>

namespace cli {

std::string localTime(const char *format)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    std::array<char, 40> text{};
    std::strftime(text.data(), text.size(), format, &local);
    return text.data();
}

} // namespace cli
