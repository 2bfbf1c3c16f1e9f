#pragma once

#include "library/base/result.h"

#include <optional>
#include <string>
#include <vector>

namespace korv {

/// A key gets a value, or goes.
struct SettingChange
{
    std::string section;
    std::string name;
    std::optional<std::string> value; ///< none: every line with this key is removed
};

/// Changes keys of a settings file; every other line stays as it is, comments and order too. A key
/// that is there keeps its place and its comment, a new one goes behind the last of its section, a
/// new section to the end. The file is replaced whole or not at all, keeps its rights, and is made,
/// with its folder, when there is none; a symbolic link stays one. Of two processes that change a
/// file at one moment the later wins.
/// Errors: -EINVAL a name or value that no line can hold, -EFBIG or -EILSEQ a file that
/// readSettings() would leave out, otherwise what the system answered.
Result<void> changeSettings(const std::string &path, const std::vector<SettingChange> &changes);

} // namespace korv
