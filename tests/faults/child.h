#pragma once

#include <functional>

/// Runs `work` in a process of its own, forked from this one, and returns its result, 0 to 100; or
/// 128 + the signal that ended it.
int inChild(const std::function<int()> &work);
