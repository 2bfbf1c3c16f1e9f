#pragma once

#include "tests/library/support/temporary_folder.h"

#include <filesystem>
#include <string>

namespace testing_support {

/// Writes an executable shell script; its path.
inline std::string writeScript(const std::string &path, const std::string &commands)
{
    writeFile(path, "#!/bin/sh\n" + commands + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

} // namespace testing_support
