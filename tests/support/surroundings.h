#pragma once

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/types.h>

/// What a test must know of the machine that it runs on.
namespace support {

/// Whether files and processes can belong to that user: some name spaces have root alone.
inline bool hasUser(uid_t user)
{
    std::ifstream map("/proc/self/uid_map");
    unsigned long first = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    while (map >> first >> outside >> count) {
        if (user >= first && user - first < count)
            return true;
    }
    return false;
}

/// Whether a limit on a process's memory holds. Emulators of processors accept it and forget it: it
/// would bind their own memory, too.
inline bool limitsMemory()
{
    struct rlimit before = {};
    struct rlimit after = {};
    if (::getrlimit(RLIMIT_AS, &before) != 0)
        return false;
    const struct rlimit wanted = {before.rlim_max - 1, before.rlim_max};
    const bool isKept = ::setrlimit(RLIMIT_AS, &wanted) == 0 && ::getrlimit(RLIMIT_AS, &after) == 0
        && after.rlim_cur == wanted.rlim_cur;
    ::setrlimit(RLIMIT_AS, &before);
    return isKept;
}

/// Whether a process can have the system refuse its calls, see seccomp(2): not in an emulator, which
/// makes calls of its own.
inline bool canRefuseCalls()
{
    return ::prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0;
}

/// How many times as long as usual programs need here: ctest sets it for emulators.
inline int slowness()
{
    const char *value = std::getenv("KORV_TEST_SLOWNESS");
    return value == nullptr ? 1 : std::max(1, std::atoi(value));
}

/// Whether ctest had this program started in an emulator.
inline bool isEmulated()
{
    return slowness() > 1;
}

} // namespace support
