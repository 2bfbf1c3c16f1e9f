#pragma once

#include <functional>

namespace korv {

/// Runs both at the same time where the machine can, else one after the other, and waits for both:
/// no thread is left behind. Throws what either throws.
void onTwoCores(const std::function<void()> &first, const std::function<void()> &second);

/// Runs `work` on both halves of the numbers from `first` up to `end` in the same way.
void onTwoCores(int first, int end, const std::function<void(int first, int end)> &work);

} // namespace korv
