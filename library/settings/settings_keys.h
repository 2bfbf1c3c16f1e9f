#pragma once

#include "library/settings/settings.h"

#include <optional>
#include <string>
#include <vector>

namespace korv {

/// One key of a section that there is once.
struct SettingKey
{
    const char *section;
    const char *name;
    const char *standard; ///< its value where no file has it
    const char *meaning; ///< one line
    const char *environment; ///< the variable that goes before the files; null for none
    /// Stores the value; an empty one puts the standard back. Otherwise: what is wrong with it.
    std::optional<std::string> (*read)(const std::string &text, Settings &settings);
};

/// One key of the sections [camera VVVV:PPPP]. A name that ends with a dot is the front part of the
/// names of many keys.
struct CameraSettingKey
{
    const char *name;
    const char *meaning;
    /// As above; `rest` is what follows the dot.
    std::optional<std::string> (*read)(const std::string &rest, const std::string &text,
                                       CameraSettings &settings);
};

/// In the order in which people read them.
const std::vector<SettingKey> &settingKeys();
const std::vector<CameraSettingKey> &cameraSettingKeys();

/// Takes one line of a file. Otherwise: what is wrong with it, in words that follow "FILE:LINE: ".
std::optional<std::string> applySetting(const std::string &section, const std::string &name,
                                        const std::string &value, Settings &settings);

} // namespace korv
