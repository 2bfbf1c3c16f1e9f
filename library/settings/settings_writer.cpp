#include "library/settings/settings_writer.h"

#include "library/files/atomic_file.h"
#include "library/settings/ini_text.h"
#include "library/settings/settings.h"
#include "library/settings/settings_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace korv {

namespace {

constexpr std::size_t kMaxLine = 190; ///< bytes; the parser takes a few more

using Lines = std::vector<std::string>;

/// Each with its line feed, of which the last one gets one.
Lines linesOf(const std::string &text)
{
    Lines lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start) + '\n');
        start = end + 1;
    }
    return lines;
}

std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line;
    return text;
}

bool isSameSection(const std::string &a, const std::string &b)
{
    const auto model = cameraModelOf(a);
    return a == b || (model && model == cameraModelOf(b));
}

std::string lineOf(const SettingChange &change)
{
    return change.name + " = " + *change.value;
}

/// A line is what it says only when the parser reads the same from it.
bool canBeWritten(const SettingChange &change)
{
    SettingChange written = change;
    written.value = change.value.value_or("0");
    const std::string text = "[" + change.section + "]\n" + lineOf(written);
    if (change.name.empty() || lineOf(written).size() > kMaxLine
        || std::count(text.begin(), text.end(), '\n') != 1)
        return false;
    const IniText ini = parseIni(text);
    return ini.problems.empty() && ini.entries.size() == 1
        && ini.entries[0].section == change.section && ini.entries[0].name == change.name
        && ini.entries[0].value == *written.value;
}

std::string withComment(const std::string &line, const std::string &old)
{
    const std::size_t comment = commentIn(old);
    const std::string end = old.size() > 1 && old[old.size() - 2] == '\r' ? "\r\n" : "\n";
    const std::string kept = comment != std::string::npos ? old.substr(comment) : end;
    return line + (line.size() + kept.size() <= kMaxLine ? kept : end);
}

/// Where a new key of the section goes: the index of the line behind its last key or its heading.
std::optional<std::size_t> endOfSection(const IniText &ini, const std::string &section)
{
    std::optional<int> last;
    for (const IniText::Section &each : ini.sections) {
        if (isSameSection(each.name, section))
            last = std::max(last.value_or(0), each.line);
    }
    for (const IniText::Entry &each : ini.entries) {
        if (last && each.line > *last && isSameSection(each.section, section))
            last = each.line;
    }
    if (!last)
        return std::nullopt;
    return static_cast<std::size_t>(*last);
}

void insert(Lines &lines, const IniText &ini, const SettingChange &change)
{
    const std::string line = lineOf(change) + '\n';
    if (const auto place = endOfSection(ini, change.section)) {
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(*place), line);
        return;
    }
    if (!lines.empty())
        lines.emplace_back("\n");
    lines.push_back('[' + change.section + "]\n");
    lines.push_back(line);
}

std::string changed(const std::string &text, const SettingChange &change)
{
    const IniText ini = parseIni(text);
    Lines lines = linesOf(text);
    std::vector<std::size_t> places; ///< lines with this key
    for (const IniText::Entry &entry : ini.entries) {
        if (isSameSection(entry.section, change.section) && entry.name == change.name)
            places.push_back(static_cast<std::size_t>(entry.line - 1));
    }
    if (!change.value) {
        for (auto place = places.rbegin(); place != places.rend(); ++place)
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(*place));
    } else if (!places.empty()) {
        // of several lines the last one counts
        std::string &line = lines[places.back()];
        line = withComment(lineOf(change), line);
    } else {
        insert(lines, ini, change);
    }
    return joined(lines);
}

/// The file itself where `path` is a symbolic link to one.
std::string withoutLinks(const std::string &path)
{
    std::error_code failed;
    const std::filesystem::path real = std::filesystem::canonical(path, failed);
    return failed ? path : real.string();
}

Result<void> makeFolderOf(const std::string &path)
{
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::error_code failed;
    if (folder.empty() || std::filesystem::is_directory(folder, failed))
        return {};
    // the XDG Base Directory Specification wants 0700 for folders that are made
    std::filesystem::create_directories(folder.parent_path(), failed);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return systemError(errno, "make ", folder.native());
    return {};
}

Result<void> replaceText(const std::string &path, const std::string &text)
{
    struct stat before = {};
    const bool hasRights = ::stat(path.c_str(), &before) == 0;
    if (Result<void> written =
            writeFileAtomically(path, {text.data(), text.size()}, Existing::Replace);
        !written)
        return written;
    if (hasRights && ::chmod(path.c_str(), before.st_mode & 07777) != 0)
        return systemError(errno, "keep the rights of ", path);
    return {};
}

} // namespace

Result<std::string> changedSettings(std::string text, const std::vector<SettingChange> &changes)
{
    for (const SettingChange &change : changes) {
        if (!canBeWritten(change))
            return Error{-EINVAL, "not a setting: [" + change.section + "] " + change.name};
        text = changed(text, change);
    }
    return text;
}

Result<void> changeSettings(const std::string &path, const std::vector<SettingChange> &changes)
{
    const std::string file = withoutLinks(path);
    const Result<std::string> read = readSettingsText(file);
    if (!read && read.code() != -ENOENT)
        return read.error();
    const std::string before = read ? read.value() : std::string();
    const Result<std::string> text = changedSettings(before, changes);
    if (!text)
        return text.error();
    if (text.value() == before)
        return {};
    if (Result<void> folder = makeFolderOf(file); !folder)
        return folder;
    return replaceText(file, text.value());
}

} // namespace korv
