#include "library/documents/pdf/pdf_text.h"

#include "library/values/utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace korv {

namespace {

std::string literal(const std::string &ascii)
{
    std::string text = "(";
    for (const char letter : ascii) {
        if (letter == '(' || letter == ')' || letter == '\\')
            text += '\\';
        text += letter;
    }
    return text + ")";
}

std::string hexadecimal(const std::string &utf8)
{
    std::string text = "<FEFF";
    for (const char16_t unit : utf16(validUtf8(utf8))) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(unit));
        text += digits;
    }
    return text + ">";
}

} // namespace

std::string pdfText(const std::string &utf8)
{
    const bool plain = std::all_of(utf8.begin(), utf8.end(),
                                   [](char letter) { return letter >= ' ' && letter <= '~'; });
    return plain ? literal(utf8) : hexadecimal(utf8);
}

std::string isoDate(std::time_t time)
{
    std::tm local{};
    if (::localtime_r(&time, &local) == nullptr)
        return "1970-01-01T00:00:00+00:00";
    const long minutes = local.tm_gmtoff / 60;
    char date[80];
    std::snprintf(date, sizeof date, "%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld",
                  local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec, minutes < 0 ? '-' : '+', std::labs(minutes) / 60,
                  std::labs(minutes) % 60);
    return date;
}

std::string pdfDate(std::time_t time)
{
    // the same parts without what stands between them
    const std::string iso = isoDate(time);
    const std::size_t zone = iso.size() - 6;
    std::string date = "D:";
    for (const char letter : iso.substr(0, zone)) {
        if (letter >= '0' && letter <= '9')
            date += letter;
    }
    return date + iso.substr(zone, 3) + "'" + iso.substr(zone + 4) + "'";
}

} // namespace korv
