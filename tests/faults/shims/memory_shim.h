#pragma once

#include <cstddef>

/// An allocator in front of the C library's that runs out on command. Linked into a program, it
/// serves the libraries of that program too. Any thread; the state is the process's.

enum class Shortage {
    Lasting,
    Momentary, ///< one allocation fails
    OfLargeBlocks, ///< lasting, but there is room for whatever is smaller than kLargeBlock
};
constexpr std::size_t kLargeBlock = 16 * 1024;

/// The `nth` allocation from now (from 1), or the `nth` large one, fails with ENOMEM; when the shortage
/// lasts, every later one does.
void exhaustMemoryFrom(long nth, Shortage shortage);

/// Memory is there again; whether an allocation failed meanwhile.
bool restoreMemory();
