#pragma once

#include <string>

namespace korv {

/// Why this user cannot open a node, in words that say what helps: which group is missing. They
/// follow the node's name and a colon.
std::string whyNotToOpen(const std::string &node);

} // namespace korv
