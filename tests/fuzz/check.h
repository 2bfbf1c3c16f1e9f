#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the process with a message when something that must hold for every input does not. Not
/// assert(): the targets are built with optimisation, too.
[[noreturn]] inline void fail(const char *what, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}

} // namespace fuzz

#define FUZZ_CHECK(condition)                                                                      \
    ((condition) ? static_cast<void>(0) : fuzz::fail(#condition, __FILE__, __LINE__))
