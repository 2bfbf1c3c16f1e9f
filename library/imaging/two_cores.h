#pragma once

#include <functional>

namespace korv {

/// Runs both at the same time where the machine can, else one after the other, and waits for both:
/// no thread is left behind. Throws what either throws.
void onTwoCores(const std::function<void()> &first, const std::function<void()> &second);

} // namespace korv
