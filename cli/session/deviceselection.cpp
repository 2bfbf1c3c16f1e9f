#include "cli/session/deviceselection.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <strings.h>

namespace cli {
namespace {

namespace fs = std::filesystem;

template <typename Wanted>
std::vector<Device> those(const std::vector<Device> &devices, Wanted isWanted)
{
    std::vector<Device> found;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(found), isWanted);
    return found;
}

bool isIndex(const std::string &text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

bool isModel(const std::string &text)
{
    constexpr char kDigits[] = "0123456789abcdefABCDEF";
    return text.size() == 9 && text[4] == ':' && text.find_first_not_of(kDigits) == 4
        && text.find_first_not_of(kDigits, 5) == std::string::npos;
}

std::string realPath(const std::string &path)
{
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

/// The USB interface behind a node, which a camera's two nodes share; empty when there is none.
std::string interfaceOf(const std::string &node, const std::string &sysfs)
{
    std::error_code error;
    const fs::path link = fs::path(sysfs) / fs::path(node).filename() / "device";
    const fs::path real = fs::canonical(link, error);
    return error ? std::string() : real.string();
}

std::vector<Device> withNode(const std::vector<Device> &devices, const std::string &path,
                             const std::string &sysfs)
{
    const std::string wanted = realPath(path);
    const std::string interface = interfaceOf(wanted, sysfs);
    return those(devices, [&](const Device &device) {
        return !device.node.empty()
            && (realPath(device.node) == wanted
                || (!interface.empty() && interfaceOf(device.node, sysfs) == interface));
    });
}

std::vector<Device> called(const std::vector<Device> &devices, const std::string &name)
{
    std::vector<Device> found = those(devices, [&](const Device &device) {
        return strcasecmp(device.name.c_str(), name.c_str()) == 0;
    });
    if (!found.empty() || name.empty())
        return found;
    return those(devices, [&](const Device &device) {
        return strncasecmp(device.name.c_str(), name.c_str(), name.size()) == 0;
    });
}

} // namespace

std::vector<Device> matching(const std::vector<Device> &devices, const std::string &wanted,
                             const std::string &sysfs)
{
    if (isIndex(wanted)) {
        return those(devices,
                     [&](const Device &device) { return std::to_string(device.index) == wanted; });
    }
    if (wanted.find('/') != std::string::npos)
        return withNode(devices, wanted, sysfs);
    if (isModel(wanted)) {
        const long vid = std::strtol(wanted.c_str(), nullptr, 16);
        const long pid = std::strtol(wanted.c_str() + 5, nullptr, 16);
        return those(devices,
                     [=](const Device &device) { return device.vid == vid && device.pid == pid; });
    }
    return called(devices, wanted);
}

} // namespace cli
