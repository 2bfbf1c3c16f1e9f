#pragma once

#include <string>

namespace korv {

/// `bytes` random bytes as lower-case hexadecimal digits.
std::string randomHex(int bytes);

} // namespace korv
