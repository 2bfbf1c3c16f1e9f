#pragma once

#include <string>
#include <vector>

namespace korv {

/// The languages in which writing is recognised, by Tesseract's names of them.
struct TextLanguages
{
    std::string names; ///< "chi_sim+eng": the most important first; empty: no recognition

    bool empty() const { return names.empty(); }
    /// One by one.
    std::vector<std::string> list() const;
};

/// Whether a text has the form of TextLanguages::names: names of letters, digits and '_' with '+'
/// between them. Whether Tesseract knows them is another question.
bool areLanguageNames(const std::string &text);

/// The language of a document that is written in these languages, as BCP 47 names it: "zh-Hans" for
/// "chi_sim+eng". Empty where the first one has no such name that is known here.
std::string documentLanguage(const TextLanguages &languages);

/// Whether lines in the first of the languages begin at the right, as Arabic and Hebrew ones do.
bool areWrittenFromRight(const TextLanguages &languages);

} // namespace korv
