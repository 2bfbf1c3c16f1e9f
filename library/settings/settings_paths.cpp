#include "library/settings/settings_paths.h"

#include <cstdlib>

namespace korv {

namespace {

constexpr char kName[] = "/korv-camera.conf";

std::string absolutePath(const char *variable)
{
    const char *path = ::secure_getenv(variable);
    return path != nullptr && path[0] == '/' ? path : "";
}

std::string userFile()
{
    if (const std::string folder = absolutePath("XDG_CONFIG_HOME"); !folder.empty())
        return folder + kName;
    const std::string home = absolutePath("HOME");
    return home.empty() ? home : home + "/.config" + kName;
}

} // namespace

SettingsPaths settingsPaths()
{
    const bool isNamed = ::secure_getenv("KORV_CAMERA_CONF") != nullptr;
    return {isNamed ? absolutePath("KORV_CAMERA_CONF") : std::string("/etc") + kName, userFile()};
}

} // namespace korv
