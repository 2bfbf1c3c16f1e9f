#pragma once

#include <fstream>
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

} // namespace support
