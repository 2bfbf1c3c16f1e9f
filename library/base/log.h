#pragma once

#include <string>

namespace korv {

/// One line on standard error, "korvcamera: " in front. Safe from any thread; lines are not split.
void logLine(const std::string &text);

} // namespace korv
