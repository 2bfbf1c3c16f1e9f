#include "library/text/text_languages.h"

#include <algorithm>
#include <iterator>

namespace korv {

namespace {

struct LanguageName
{
    const char *tesseract;
    const char *bcp47;
};

/// Tesseract goes by ISO 639-2, BCP 47 by ISO 639-1 wherever that has a code.
constexpr LanguageName kNames[] = {
    {"ara", "ar"},          {"ben", "bn"}, {"bul", "bg"}, {"ces", "cs"}, {"chi_sim", "zh-Hans"},
    {"chi_tra", "zh-Hant"}, {"dan", "da"}, {"deu", "de"}, {"ell", "el"}, {"eng", "en"},
    {"est", "et"},          {"fas", "fa"}, {"fin", "fi"}, {"fra", "fr"}, {"heb", "he"},
    {"hin", "hi"},          {"hrv", "hr"}, {"hun", "hu"}, {"ind", "id"}, {"ita", "it"},
    {"jpn", "ja"},          {"kor", "ko"}, {"lat", "la"}, {"lav", "lv"}, {"lit", "lt"},
    {"mon", "mn"},          {"msa", "ms"}, {"nld", "nl"}, {"nor", "no"}, {"pol", "pl"},
    {"por", "pt"},          {"ron", "ro"}, {"rus", "ru"}, {"slk", "sk"}, {"slv", "sl"},
    {"spa", "es"},          {"srp", "sr"}, {"swe", "sv"}, {"tha", "th"}, {"tur", "tr"},
    {"uig", "ug"},          {"ukr", "uk"}, {"vie", "vi"},
};

constexpr const char *kWrittenFromRight[] = {"ara", "div", "fas", "heb", "kur_ara", "pus",
                                             "snd", "syr", "uig", "urd", "yid"};

bool isNameLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z')
        || (letter >= '0' && letter <= '9') || letter == '_';
}

} // namespace

std::vector<std::string> TextLanguages::list() const
{
    std::vector<std::string> each;
    for (std::size_t start = 0; start < names.size();) {
        const std::size_t end = std::min(names.find('+', start), names.size());
        each.push_back(names.substr(start, end - start));
        start = end + 1;
    }
    return each;
}

bool areLanguageNames(const std::string &text)
{
    constexpr std::size_t kMaxLength = 200;
    if (text.empty() || text.size() > kMaxLength || text.back() == '+')
        return false;
    const std::vector<std::string> each = TextLanguages{text}.list();
    return std::all_of(each.begin(), each.end(), [](const std::string &name) {
        return !name.empty() && std::all_of(name.begin(), name.end(), isNameLetter);
    });
}

std::string documentLanguage(const TextLanguages &languages)
{
    if (languages.empty())
        return {};
    const std::string first = languages.list().front();
    const auto *const found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [&](const LanguageName &name) { return first == name.tesseract; });
    return found == std::end(kNames) ? std::string() : found->bcp47;
}

bool areWrittenFromRight(const TextLanguages &languages)
{
    return !languages.empty()
        && std::count(std::begin(kWrittenFromRight), std::end(kWrittenFromRight),
                      languages.list().front())
        != 0;
}

} // namespace korv
