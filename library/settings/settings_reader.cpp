#include "library/settings/settings_reader.h"

#include "library/files/source_file.h"
#include "library/settings/ini_text.h"
#include "library/settings/settings_keys.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace korv {

namespace {

constexpr std::size_t kMaxSize = 64 * 1024;
constexpr std::size_t kMaxReported = 20; ///< problems of one file

bool isNoText(unsigned char byte)
{
    return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
}

/// Collects what one file says.
class FileReader
{
public:
    FileReader(const std::string &path, SettingsReading &reading)
        : m_path(path)
        , m_reading(reading)
    {
    }

    void read()
    {
        const Result<std::string> text = readSettingsText(m_path);
        if (!text) {
            // a missing folder is a missing file, and a file where a folder should be is that, too
            if (text.code() != -ENOENT && text.code() != -ENOTDIR)
                m_reading.problems.push_back("settings not read: " + text.error().text + ": "
                                             + std::generic_category().message(-text.code()));
            return;
        }
        m_reading.files.push_back(m_path);
        const IniText ini = parseIni(text.value());
        for (const IniText::Problem &problem : ini.problems)
            m_problems.push_back(problem);
        for (const IniText::Entry &entry : ini.entries)
            take(entry);
        report();
    }

private:
    void take(const IniText::Entry &entry)
    {
        const auto refusal =
            applySetting(entry.section, entry.name, entry.value, m_reading.settings);
        if (refusal) {
            m_problems.push_back({*refusal, entry.line});
            return;
        }
        const auto model = cameraModelOf(entry.section);
        const std::string section = model ? sectionOf(*model) : entry.section;
        const SettingInForce setting{section, entry.name, entry.value, m_path, entry.line};
        auto &all = m_reading.inForce;
        const auto same = std::find_if(all.begin(), all.end(), [&](const SettingInForce &each) {
            return each.section == section && each.name == entry.name;
        });
        if (same != all.end())
            *same = setting;
        else
            all.push_back(setting);
    }

    void report()
    {
        std::stable_sort(m_problems.begin(), m_problems.end(),
                         [](const auto &a, const auto &b) { return a.line < b.line; });
        const std::size_t count = std::min(m_problems.size(), kMaxReported);
        for (std::size_t i = 0; i < count; ++i)
            m_reading.problems.push_back(m_path + ":" + std::to_string(m_problems[i].line) + ": "
                                         + m_problems[i].text);
        if (m_problems.size() > count)
            m_reading.problems.push_back(m_path + ": " + std::to_string(m_problems.size() - count)
                                         + " more lines are wrong");
    }

    const std::string &m_path;
    SettingsReading &m_reading;
    std::vector<IniText::Problem> m_problems;
};

} // namespace

SettingsReading readSettings(const SettingsPaths &paths)
{
    SettingsReading reading;
    for (const std::string &path : {paths.system, paths.user}) {
        if (!path.empty())
            FileReader(path, reading).read();
    }
    return reading;
}

Result<std::string> readSettingsText(const std::string &path)
{
    const Result<SourceFile> file = SourceFile::open(path);
    if (!file)
        return file.error();
    if (file.value().size() > kMaxSize)
        return Error{-EFBIG, path};
    Bytes content;
    // one byte more than it had: a file that grows meanwhile is noticed
    if (Result<void> read = file.value().read(0, kMaxSize + 1, content); !read)
        return read.error();
    if (content.size() > kMaxSize)
        return Error{-EFBIG, path};
    if (std::any_of(content.begin(), content.end(), isNoText))
        return Error{-EILSEQ, path + " is no text"};
    return std::string(content.begin(), content.end());
}

} // namespace korv
