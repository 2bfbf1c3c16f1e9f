#pragma once

#include <cstddef>
#include <string>

namespace cli {

/// As much of `text`, which is UTF-8 on one line, as fits into that many columns of a terminal.
/// Chinese characters take two.
std::string cutToColumns(const std::string &text, std::size_t columns);

} // namespace cli
