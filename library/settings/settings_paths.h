#pragma once

#include <string>

namespace korv {

/// The files of settings; an empty path is no file.
struct SettingsPaths
{
    std::string system;
    std::string user; ///< goes before the former
};

/// /etc/korv-camera.conf, or the file that KORV_CAMERA_CONF names, and over it korv-camera.conf in
/// XDG_CONFIG_HOME, by default ~/.config. Paths that are not absolute are no files, as the XDG Base
/// Directory Specification wants it. A secure process (set-user-ID and the like) must not be led by
/// its environment: it has the file in /etc only.
SettingsPaths settingsPaths();

} // namespace korv
