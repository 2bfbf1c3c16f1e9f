#pragma once

#include <string_view>

namespace korv {

/// One line on standard error, "korvcamera: " in front. Safe from any thread; lines are not split.
/// Takes no memory.
void logLine(std::string_view text) noexcept;

} // namespace korv
