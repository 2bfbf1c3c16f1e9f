#pragma once

#include <string>

namespace korv {

/// Makes what a device calls itself fit DeviceIdentity::name: bytes that are not UTF-8 become '?',
/// commas and control characters blanks; outer blanks go; cut to 63 bytes between characters. An
/// empty name becomes "USB Camera".
std::string usableDeviceName(const std::string &raw);

/// How lines of the log name a camera: "/dev/video0 (Model)", or the node alone when the model is not
/// known.
std::string nodeLabel(const std::string &node, const std::string &model);

} // namespace korv
