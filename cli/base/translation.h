#pragma once

#include <string>
#include <type_traits>
#include <vector>

namespace cli {

// What korvcam says to people, in their language. English is the language of the sources; the texts
// of the others are in translations/korvcam_*.po, which tools/update_translations.py keeps in step.
// JSON, names of commands, options and formats, and what the library logs are not translated.
//
// tr() takes a literal with %1 to %9 for the parts, which a translation may put in another order:
//
//     printError(tr("cannot save in %1: %2", file, std::strerror(error)));
//
// Thread: any, once useMessagesIn() has been called.

/// Makes tr() speak the language of the environment (LC_ALL, LC_MESSAGES, LANG, LANGUAGE), from the
/// catalogues below `folder`. Numbers keep their point in every language. Call it before there are
/// other threads; without it everything is English.
void useMessagesIn(const std::string &folder);

/// The folder of the catalogues of an installed program, and of one in the folder it was built in:
/// both have them in "locale" beside the folder of the program. Empty when that cannot be known.
std::string messageFolder();

/// `text` in the user's language, or itself; its placeholders stay.
std::string tr(const char *text);

/// Marks a literal that is translated where it is used: tr(kTexts[i]).
constexpr const char *trLater(const char *text)
{
    return text;
}

/// A sentence that code without translations made in English, such as the parser of the command line
/// or the library's rooms, when it is one of those in knownsentences.cpp; otherwise the sentence.
std::string trSentence(const std::string &sentence);

/// `text` with %1 to %9 replaced by `parts`, whose own signs of per cent stay as they are.
std::string filled(const std::string &text, const std::vector<std::string> &parts);

namespace translation {

/// The form of `one` and `many` that the language has for `count`.
std::string formFor(const char *one, const char *many, unsigned long count);

inline std::string partText(const std::string &part)
{
    return part;
}

inline std::string partText(const char *part)
{
    return part;
}

template <typename Number>
std::enable_if_t<std::is_arithmetic_v<Number>, std::string> partText(Number part)
{
    return std::to_string(part);
}

} // namespace translation

template <typename... Parts> std::string tr(const char *text, const Parts &...parts)
{
    return filled(tr(text), {translation::partText(parts)...});
}

/// `one` or `many`, or what the language has for them, by `count`, which is %1; other parts follow.
template <typename... Parts>
std::string trCount(const char *one, const char *many, unsigned long count, const Parts &...parts)
{
    return filled(translation::formFor(one, many, count),
                  {std::to_string(count), translation::partText(parts)...});
}

} // namespace cli
