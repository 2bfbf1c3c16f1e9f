#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace testing_support {

inline std::ptrdiff_t entriesIn(const std::filesystem::path &folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

/// Threads of this process, as the kernel knows them: it forgets one a moment after it was joined.
inline std::ptrdiff_t threadCount()
{
    return entriesIn("/proc/self/task");
}

} // namespace testing_support
