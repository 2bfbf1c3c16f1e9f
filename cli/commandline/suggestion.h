#pragma once

#include <string>
#include <vector>

namespace cli {

/// The word of `known` that `word` was probably meant to be: one that it begins, or one that a few
/// letters turn it into. Empty when none comes near.
std::string nearest(const std::string &word, const std::vector<std::string> &known);

} // namespace cli
