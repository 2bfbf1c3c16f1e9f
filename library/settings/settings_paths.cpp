#include "library/settings/settings_paths.h"

#include "util/userfolders.h"

#include <cstdlib>

namespace korv {

namespace {

constexpr char kName[] = "/korv-camera.conf";

std::string userFile()
{
    const std::string folder = userfolders::configuration();
    return folder.empty() ? folder : folder + kName;
}

} // namespace

SettingsPaths settingsPaths()
{
    const bool isNamed = ::secure_getenv("KORV_CAMERA_CONF") != nullptr;
    return {isNamed ? userfolders::absolutePath("KORV_CAMERA_CONF") : std::string("/etc") + kName,
            userFile()};
}

} // namespace korv
