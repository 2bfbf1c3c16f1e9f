#pragma once

#include <string>

namespace cli {

/// Now, in local time, written as strftime(3) has it.
std::string localTime(const char *format);

} // namespace cli
