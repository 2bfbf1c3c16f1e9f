#pragma once

#include <string>

namespace korv {

/// The code points of a UTF-8 text (RFC 3629). What is no UTF-8 becomes U+FFFD.
std::u32string decodeUtf8(const std::string &text);

/// The text with everything replaced by U+FFFD that is no UTF-8 or that XML 1.0 does not allow.
std::string cleanUtf8(const std::string &text);

} // namespace korv
