#pragma once

#include <string>

namespace korv {

/// Why this user cannot open a node, in a sentence that says what helps: which group is missing.
std::string whyNotToOpen(const std::string &node);

} // namespace korv
