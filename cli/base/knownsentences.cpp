#include "cli/base/knownsentences.h"

#include "cli/base/translation.h"

#include <array>
#include <cstddef>

namespace cli {
namespace {

bool isPlaceholder(const std::string &pattern, std::size_t at)
{
    return pattern[at] == '%' && at + 1 < pattern.size() && pattern[at + 1] >= '1'
        && pattern[at + 1] <= '9';
}

/// The words from `at` up to the next placeholder or the end.
std::string wordsFrom(const std::string &pattern, std::size_t at)
{
    std::string words;
    for (; at < pattern.size() && !isPlaceholder(pattern, at); ++at)
        words += pattern[at];
    return words;
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size()
        && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

constexpr std::array kSentences{
    // the parser of the command line
    trLater("%1 is required"),
    trLater("The following argument was not expected: %1"),
    trLater("The following arguments were not expected: %1"),
    trLater("%1: %2 required %3 missing"),
    trLater("%1: At Most %2 required but received %3"),
    trLater("%1: At least %2 required but received %3"),
    trLater("%1: Value %2 not in range %3 to %4"),
    trLater("%1: Value %2 not in range [%3 - %4]"), // since CLI11 2.4
    trLater("%1: %2 not in {%3}"),
    trLater("%1 requires %2"),
    trLater("%1 excludes %2"),
    trLater("Could not convert: %1 = %2"),
    trLater("%1: too many inputs for a flag"),
    trLater("%1: Should be true/false or a number"),
    trLater("%1 was given a disallowed flag override"),
    // controls of a camera
    trLater("%1 takes 0 or 1, not %2"),
    trLater("%1 takes %2 to %3 in steps of %4, not %5"),
    trLater("%1 takes %2 to %3, not %4"),
    trLater("%1 takes nothing, not %2"),
    trLater("%1 takes %2, not %3"),
    trLater("%1 is of a kind that cannot be set here"),
    trLater("%1 is a button: set it to 1 to press it"),
    trLater("the camera is gone"),
    // documents that cannot get text
    trLater("it was not made by this library, or another program has changed it since"),
    trLater("it is damaged"),
    trLater("it is encrypted"),
    trLater("it has text already"),
    trLater("a document keeps its format when it gets text"),
    trLater("no writing was recognised on its pages"),
    trLater("one of its pages has no text"),
    trLater("%1 of its pages have no text"),
    // settings files
    trLater("settings not read: %1 is no text: %2"),
    trLater("settings not read: %1: %2"),
    trLater("%1: %2 more lines are wrong"),
    trLater("%1: unknown key %2"),
    trLater("%1: unknown section [%2]"),
    trLater("%1: %2 stands before the first section"),
    trLater("%1: neither a section nor NAME = VALUE"),
    trLater("%1: the line is too long"),
    trLater("%1: no section: %2"),
    trLater("%1: no text: %2"),
    trLater("%1: neither yes nor no: %2"),
    trLater("%1: no positive number: %2"),
    trLater("%1: no page size: %2"),
    trLater("%1: no size in pixels: %2"),
    trLater("%1: no scale from 0.1 to 1000: %2"),
    trLater("%1: a control needs a name"),
    trLater("the file's name"),
    trLater("by the picture"),
    // who may open a camera
    trLater("no group may, the administrator has to give the rights"),
    trLater("the group %1 counts from the next login on: log in again"),
    trLater("`sudo adduser $USER %1`, then log in again"),
};

} // namespace

const std::vector<const char *> &knownSentences()
{
    static const std::vector<const char *> sentences(kSentences.begin(), kSentences.end());
    return sentences;
}

SentenceMatch matchSentence(const std::string &sentence, const std::string &pattern)
{
    SentenceMatch match;
    const std::string start = wordsFrom(pattern, 0);
    if (sentence.compare(0, start.size(), start) != 0)
        return match;
    std::size_t place = start.size();
    for (std::size_t at = start.size(); at < pattern.size();) {
        const std::string words = wordsFrom(pattern, at + 2);
        at += 2 + words.size();
        const bool isLast = at == pattern.size();
        const std::size_t end =
            isLast ? sentence.size() - words.size() : sentence.find(words, place);
        if (end == std::string::npos || !endsWith(sentence, isLast ? words : "") || end < place)
            return {};
        match.parts.push_back(sentence.substr(place, end - place));
        place = end + words.size();
    }
    match.fits = place == sentence.size();
    return match;
}

std::string trSentence(const std::string &sentence)
{
    for (const char *pattern : knownSentences()) {
        const SentenceMatch match = matchSentence(sentence, pattern);
        if (match.fits)
            return filled(tr(pattern), match.parts);
    }
    return sentence;
}

} // namespace cli
