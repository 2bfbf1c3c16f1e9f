#pragma once

#include <string>

namespace korv {

/// Makes what a device calls itself fit DeviceIdentity::name: bytes that are not UTF-8 become '?',
/// commas and control characters blanks; outer blanks go; cut to 63 bytes between characters. An
/// empty name becomes "USB Camera".
std::string usableDeviceName(const std::string &raw);

} // namespace korv
