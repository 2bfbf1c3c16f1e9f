#pragma once

#include <string>
#include <vector>

namespace cli {

/// The sentences of other code that trSentence() knows, in English with %1 to %9 for their parts; of
/// two that fit, the earlier one counts.
const std::vector<const char *> &knownSentences();

/// Whether a sentence has a pattern's words, and what it has where the pattern has its placeholders.
struct SentenceMatch
{
    bool fits = false;
    std::vector<std::string> parts;
};

/// `pattern` has its placeholders in the order of their numbers. Every part is as short as it can be.
SentenceMatch matchSentence(const std::string &sentence, const std::string &pattern);

} // namespace cli
