#include "cli/commandline/pagesize.h"

#include <array>
#include <charconv>
#include <strings.h>
#include <system_error>

namespace cli {
namespace {

constexpr std::array<const char *, 5> kNames{"A3", "A4", "A5", "letter", "card"};
// readers of PDF take pages of 3 to 14,400 points a side (ISO 32000-1, annex C.2)
constexpr double kMinMillimetres = 2;
constexpr double kMaxMillimetres = 5000;

/// Whether the text is a length: digits with at most one decimal point, in every locale.
bool isLength(const std::string &text)
{
    double length = 0;
    const char *const end = text.data() + text.size();
    const std::from_chars_result read =
        std::from_chars(text.data(), end, length, std::chars_format::fixed);
    return read.ec == std::errc() && read.ptr == end && length >= kMinMillimetres
        && length <= kMaxMillimetres;
}

} // namespace

std::optional<std::string> toPageSize(const std::string &text)
{
    for (const char *name : kNames) {
        if (strcasecmp(name, text.c_str()) == 0)
            return name;
    }
    const std::size_t by = text.find_first_of("xX");
    if (by == std::string::npos)
        return std::nullopt;
    const std::string width = text.substr(0, by);
    const std::string height = text.substr(by + 1);
    if (!isLength(width) || !isLength(height))
        return std::nullopt;
    return width + "x" + height;
}

} // namespace cli
