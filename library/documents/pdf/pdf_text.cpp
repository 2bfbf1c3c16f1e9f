#include "library/documents/pdf/pdf_text.h"

#include "library/values/dates.h"
#include "library/values/utf8.h"

#include <algorithm>
#include <cstdio>

namespace korv {

namespace {

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

std::string pdfLiteral(const std::string &bytes)
{
    std::string text = "(";
    for (const char byte : bytes) {
        if (byte == '(' || byte == ')' || byte == '\\')
            text += '\\';
        if (byte == '\r')
            text += "\\r";
        else
            text += byte;
    }
    return text + ")";
}

std::string reference(int number)
{
    return std::to_string(number) + " 0 R";
}

std::string pdfText(const std::string &utf8)
{
    const bool plain = std::all_of(utf8.begin(), utf8.end(),
                                   [](char letter) { return letter >= ' ' && letter <= '~'; });
    return plain ? pdfLiteral(utf8) : hexadecimal(utf8);
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
