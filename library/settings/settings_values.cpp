#include "library/settings/settings_values.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <strings.h>

namespace korv {

namespace {

template <typename Number>
std::optional<Number> numberIn(const char *first, const char *last, std::from_chars_result read,
                               Number number)
{
    if (read.ec != std::errc() || read.ptr != last || first == last || !(number > 0))
        return std::nullopt;
    return number;
}

std::optional<int> positiveInteger(const char *first, const char *last)
{
    int number = 0;
    const std::from_chars_result read = std::from_chars(first, last, number);
    return numberIn(first, last, read, number);
}

} // namespace

template <> std::optional<std::string> valueOf(const std::string &text)
{
    return text;
}

template <> std::optional<bool> valueOf(const std::string &text)
{
    constexpr const char *kYes[] = {"yes", "on", "true", "1"};
    constexpr const char *kNo[] = {"no", "off", "false", "0"};
    const auto isText = [&](const char *word) { return ::strcasecmp(word, text.c_str()) == 0; };
    if (std::any_of(std::begin(kYes), std::end(kYes), isText))
        return true;
    if (std::any_of(std::begin(kNo), std::end(kNo), isText))
        return false;
    return std::nullopt;
}

template <> std::optional<double> valueOf(const std::string &text)
{
    const char *first = text.data();
    const char *last = first + text.size();
    double number = 0;
    const std::from_chars_result read =
        std::from_chars(first, last, number, std::chars_format::fixed);
    return numberIn(first, last, read, number);
}

template <> std::optional<std::optional<SheetSize>> valueOf(const std::string &text)
{
    const std::optional<SheetSize> sheet = sheetOf(text);
    if (!sheet)
        return std::nullopt;
    return std::make_optional(sheet);
}

template <> std::optional<TextLanguages> valueOf(const std::string &text)
{
    if (valueOf<bool>(text) == false)
        return TextLanguages();
    if (!areLanguageNames(text))
        return std::nullopt;
    return TextLanguages{text};
}

template <> const char *refusalOf<std::string>()
{
    return "no text";
}
template <> const char *refusalOf<bool>()
{
    return "neither yes nor no";
}
template <> const char *refusalOf<double>()
{
    return "no positive number";
}
template <> const char *refusalOf<std::optional<SheetSize>>()
{
    return "no page size";
}

template <> const char *refusalOf<TextLanguages>()
{
    return "no languages such as chi_sim+eng";
}

std::optional<std::pair<int, int>> modeSizeOf(const std::string &text)
{
    const std::size_t by = text.find('x');
    if (by == std::string::npos)
        return std::nullopt;
    const char *first = text.data();
    const auto width = positiveInteger(first, first + by);
    const auto height = positiveInteger(first + by + 1, first + text.size());
    if (!width || !height)
        return std::nullopt;
    return std::pair{*width, *height};
}

} // namespace korv
