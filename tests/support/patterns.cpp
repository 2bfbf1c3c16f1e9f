#include "tests/support/patterns.h"

#include <regex>

namespace support {

std::vector<Match> matchesOf(const std::string &text, const std::string &pattern)
{
    const std::regex wanted(pattern);
    std::vector<Match> matches;
    for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at)
        matches.emplace_back(at->begin(), at->end());
    return matches;
}

bool fitsWhole(const std::string &text, const std::string &pattern)
{
    return std::regex_match(text, std::regex(pattern));
}

std::string withoutMatches(const std::string &text, const std::string &pattern)
{
    return std::regex_replace(text, std::regex(pattern), "");
}

} // namespace support
