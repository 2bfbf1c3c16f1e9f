#include "util/userfolders.h"

#include <cstdlib>

namespace userfolders {
namespace {

/// What the variable names, or else a folder in the user's home.
std::string folderOf(const char *variable, const char *inHome)
{
    std::string folder = absolutePath(variable);
    if (const std::string home = absolutePath("HOME"); folder.empty() && !home.empty())
        folder = home + inHome;
    return folder;
}

} // namespace

std::string absolutePath(const char *variable)
{
    const char *const path = ::secure_getenv(variable);
    return path != nullptr && path[0] == '/' ? path : "";
}

std::string configuration()
{
    return folderOf("XDG_CONFIG_HOME", "/.config");
}

std::string cache()
{
    return folderOf("XDG_CACHE_HOME", "/.cache");
}

} // namespace userfolders
