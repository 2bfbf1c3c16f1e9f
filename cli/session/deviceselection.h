#pragma once

#include "cli/session/devices.h"

#include <string>
#include <vector>

namespace cli {

/// The cameras that `wanted` means: an index; a path, of a node or of a link to one; VVVV:PPPP, the
/// vendor and product id; or a name, in whole or its beginning, in any case. In this order: what
/// looks like an earlier form is none of a later one. `sysfs` is where the system shows its nodes.
std::vector<Device> matching(const std::vector<Device> &devices, const std::string &wanted,
                             const std::string &sysfs = "/sys/class/video4linux");

} // namespace cli
