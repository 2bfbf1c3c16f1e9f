#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korv {

/// `length` random ones of `letters`, from the system's source. Throws what std::random_device does.
std::string randomText(std::size_t length, std::string_view letters);

/// `bytes` random bytes as lower-case hexadecimal digits.
std::string randomHex(std::size_t bytes);

} // namespace korv
