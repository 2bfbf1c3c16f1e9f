#pragma once

#include "cli/base/jsonline.h"

#include <string>
#include <vector>

namespace cli {

/// A camera as the library's device list describes it.
struct Device
{
    int index = 0;
    int vid = 0;
    int pid = 0;
    std::string name; ///< UTF-8
    std::string node = {}; ///< /dev/video0; empty: it has none, or the library does not say
    std::string serial = {}; ///< serial number; may be empty
};

/// Reads the JSON array of KorvCamera_GetOnLineDevList. Null and text that is no array give an
/// empty list; a missing member reads as 0 or empty. The text stays the caller's.
std::vector<Device> parseDevices(const char *json);

/// "0  1b17:0211  Name": index, vendor and product id in hexadecimal, name.
std::string describe(const Device &device);

/// The same with node and serial number behind it, as far as they are known.
std::string describeInFull(const Device &device);

/// The same as JSON: index, model, name, node, serial; the last two are empty where they are not known.
JsonLine objectOf(const Device &device);

/// "1b17:0211".
std::string modelOf(const Device &device);

} // namespace cli
