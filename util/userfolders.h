#pragma once

#include <string>

/// Where a user keeps things, as the XDG Base Directory Specification has it. Paths that are not
/// absolute do not count, and a secure process (set-user-ID and the like) is not led by its
/// environment: it has none of these folders. Each is empty when the user has none.
namespace userfolders {

/// The absolute path that a variable of the environment holds; empty when it holds none.
std::string absolutePath(const char *variable);

/// XDG_CONFIG_HOME, by default ~/.config.
std::string configuration();

/// XDG_CACHE_HOME, by default ~/.cache.
std::string cache();

} // namespace userfolders
