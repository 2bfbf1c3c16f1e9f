#pragma once

#include <ctime>
#include <string>

namespace korv {

/// A reference to an object: "12 0 R".
std::string reference(int number);

/// A string object of any bytes (ISO 32000-1, 7.3.4.2), which is half as long as a hexadecimal one.
std::string pdfLiteral(const std::string &bytes);

/// A text string object (ISO 32000-1, 7.9.2.2) of UTF-8: literal when it is ASCII, otherwise
/// UTF-16BE in hexadecimal. Bytes that are no UTF-8 become U+FFFD.
std::string pdfText(const std::string &utf8);

/// A date (7.9.4) in local time with its offset: D:YYYYMMDDHHmmSS+08'00'.
std::string pdfDate(std::time_t time);

} // namespace korv
