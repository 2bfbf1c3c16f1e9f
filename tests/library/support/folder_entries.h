#pragma once

#include "tests/library/support/wait.h"

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

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

/// The same when none has just ended. A sanitizer starts a thread of its own beside the first of the
/// program, which is there afterwards.
inline std::ptrdiff_t threadCountAtRest()
{
    std::filesystem::path ended;
    std::thread([&] { ended = std::filesystem::read_symlink("/proc/thread-self"); }).join();
    becomesTrue([&] { return !std::filesystem::exists("/proc" / ended); });
    return threadCount();
}

} // namespace testing_support
