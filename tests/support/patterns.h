#pragma once

#include <string>
#include <vector>

/// Regular expressions (ECMAScript) for all tests: whatever includes <regex> compiles twice as long.
namespace support {

/// What was found, and after it what each group of the pattern found.
using Match = std::vector<std::string>;

/// Every place in the text where the pattern fits, in their order; they do not overlap.
std::vector<Match> matchesOf(const std::string &text, const std::string &pattern);

bool fitsWhole(const std::string &text, const std::string &pattern);

/// The text without whatever the pattern finds in it.
std::string withoutMatches(const std::string &text, const std::string &pattern);

} // namespace support
