#pragma once

#include "library/base/result.h"
#include "library/settings/settings.h"
#include "library/settings/settings_paths.h"

#include <string>
#include <vector>

namespace korv {

/// One line of a file that counts.
struct SettingInForce
{
    std::string section; ///< of a camera: as sectionOf() writes it
    std::string name;
    std::string value;
    std::string file;
    int line = 0;
};

/// What the files say.
struct SettingsReading
{
    Settings settings;
    std::vector<SettingInForce> inForce; ///< each key once, in the order of first appearance
    std::vector<std::string> problems; ///< "FILE:LINE: what is wrong", a sentence each
    std::vector<std::string> files; ///< those that were read, in their order
};

/// Reads the files; what is wrong in them is reported and otherwise ignored, a missing file is none.
/// Symbolic links are followed. A file that is no regular one, larger than 64 KiB or no text is left
/// out as a whole. The later of two lines counts, and the user's file over the system's.
/// Throws std::bad_alloc only.
SettingsReading readSettings(const SettingsPaths &paths);

/// The text of one file. Errors: -ENOENT, -EFBIG, -EILSEQ no text, and those of readSourceFile().
Result<std::string> readSettingsText(const std::string &path);

} // namespace korv
