#pragma once

#include <sys/types.h>

/// How the files are made that get their name at the end.
namespace korv {

inline constexpr mode_t kNewFileMode = 0666; ///< the process's umask takes its share
inline constexpr int kNameAttempts = 100; ///< random names that may all be taken already

} // namespace korv
