// The library's settings file: what it says, and the same file with a key changed.
#include "library/settings/ini_text.h"
#include "library/settings/settings_keys.h"
#include "library/settings/settings_reader.h"
#include "library/settings/settings_writer.h"
#include "tests/fuzz/check.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr char kSection[] = "documents";
constexpr char kName[] = "title";
constexpr char kValue[] = "new";

bool isChanged(const korv::IniText::Entry &entry)
{
    return entry.section == kSection && entry.name == kName;
}

std::ptrdiff_t othersIn(const korv::IniText &ini)
{
    return std::count_if(ini.entries.begin(), ini.entries.end(),
                         [](const auto &entry) { return !isChanged(entry); });
}

void checkChange(const std::string &text, const korv::IniText &before)
{
    const auto written = korv::changedSettings(text, {{kSection, kName, kValue}});
    FUZZ_CHECK(static_cast<bool>(written));
    const korv::IniText after = korv::parseIni(written.value());
    FUZZ_CHECK(after.problems.size() == before.problems.size());
    FUZZ_CHECK(othersIn(after) == othersIn(before));
    const auto last = std::find_if(after.entries.rbegin(), after.entries.rend(), isChanged);
    FUZZ_CHECK(last != after.entries.rend() && last->value == kValue);

    const auto removed = korv::changedSettings(text, {{kSection, kName, std::nullopt}});
    FUZZ_CHECK(static_cast<bool>(removed));
    const korv::IniText without = korv::parseIni(removed.value());
    FUZZ_CHECK(std::none_of(without.entries.begin(), without.entries.end(), isChanged));
    FUZZ_CHECK(othersIn(without) == othersIn(before));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string text(bytes, bytes + size);
    if (!korv::isSettingsText(text))
        return 0;
    const korv::IniText ini = korv::parseIni(text);
    const auto lines = static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
    korv::Settings settings;
    int line = 0;
    for (const korv::IniText::Entry &entry : ini.entries) {
        FUZZ_CHECK(entry.line > line && entry.line <= lines);
        line = entry.line;
        static_cast<void>(korv::applySetting(entry.section, entry.name, entry.value, settings));
    }
    checkChange(text, ini);
    return 0;
}
