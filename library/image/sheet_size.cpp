#include "library/image/sheet_size.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <strings.h>

namespace korv {

namespace {

struct NamedSheet
{
    const char *name = nullptr;
    SheetSize size;
};

constexpr NamedSheet kSheets[] = {
    {"A3", {297, 420}},         {"A4", {210, 297}},      {"A5", {148, 210}},
    {"letter", {215.9, 279.4}}, {"card", {85.6, 53.98}},
};

// readers of PDF take pages of 3 to 14,400 points a side (ISO 32000-1, annex C.2)
constexpr double kShortestSide = 2;
constexpr double kMaxPageSide = 5000;

/// A number without sign or exponent, with '.' whatever the locale.
std::optional<double> sideOf(const char *first, const char *last)
{
    double side = 0;
    const std::from_chars_result read =
        std::from_chars(first, last, side, std::chars_format::fixed);
    if (read.ec != std::errc() || read.ptr != last || !(side >= kShortestSide)
        || !(side <= kMaxPageSide))
        return std::nullopt;
    return side;
}

} // namespace

std::optional<SheetSize> sheetOf(const std::string &text)
{
    const auto *named =
        std::find_if(std::begin(kSheets), std::end(kSheets), [&](const auto &sheet) {
            return ::strcasecmp(text.c_str(), sheet.name) == 0;
        });
    if (named != std::end(kSheets))
        return named->size;
    const std::size_t by = text.find_first_of("xX");
    if (by == std::string::npos)
        return std::nullopt;
    const char *first = text.data();
    const auto width = sideOf(first, first + by);
    const auto height = sideOf(first + by + 1, first + text.size());
    if (!width || !height)
        return std::nullopt;
    return SheetSize{*width, *height};
}

} // namespace korv
