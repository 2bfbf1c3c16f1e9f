#include "library/settings/ini_text.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include <ini.h>

namespace korv {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
/// No section of anybody's: what follows a heading that cannot be read belongs to no other one.
constexpr std::string_view kUnreadable = "[?]";

std::string_view stripped(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

/// Hands a text to inih line by line, which is how its line numbers are known, and collects what
/// inih makes of it. Exceptions do not pass through the C code; they wait in m_thrown.
class IniParser
{
public:
    explicit IniParser(std::string_view text)
        : m_rest(text)
    {
        if (m_rest.substr(0, kByteOrderMark.size()) == kByteOrderMark)
            m_rest.remove_prefix(kByteOrderMark.size());
    }

    IniText run()
    {
        ::ini_parse_stream(&IniParser::readLine, this, &IniParser::takeEntry, this);
        if (m_thrown)
            std::rethrow_exception(m_thrown);
        return std::move(m_result);
    }

private:
    static char *readLine(char *buffer, int size, void *self)
    {
        return static_cast<IniParser *>(self)->next(buffer, static_cast<std::size_t>(size));
    }
    static int takeEntry(void *self, const char *section, const char *name, const char *value)
    {
        static_cast<IniParser *>(self)->take(section, name, value);
        return 1;
    }

    char *next(char *buffer, std::size_t size)
    {
        try {
            endLine();
            if (m_thrown || m_rest.empty())
                return nullptr;
            const std::string_view line = readable(nextLine(), size);
            std::memcpy(buffer, line.data(), line.size());
            buffer[line.size()] = '\0';
            return buffer;
        } catch (...) {
            m_thrown = std::current_exception();
            return nullptr;
        }
    }

    void take(const char *section, const char *name, const char *value)
    {
        try {
            m_isEntry = false;
            m_result.entries.push_back({section, name, value, m_line});
        } catch (...) {
            m_thrown = std::current_exception();
        }
    }

    std::string_view nextLine()
    {
        const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
        const std::string_view line = stripped(m_rest.substr(0, end));
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        ++m_line;
        return line;
    }

    /// The line, or what stands for it where inih would misread it.
    std::string_view readable(std::string_view line, std::size_t size)
    {
        const bool isHeading = !line.empty() && line.front() == '[';
        const bool isComment = !line.empty() && (line.front() == ';' || line.front() == '#');
        if (line.empty() || isComment)
            return {};
        if (line.size() + 3 > size) {
            report("the line is too long");
            return isHeading ? kUnreadable : std::string_view();
        }
        m_isEntry = !isHeading;
        if (!isHeading)
            return line;
        const std::size_t end = line.find(']');
        if (end == std::string_view::npos || line.find(" ;") < end) {
            report("no section: " + std::string(line));
            return kUnreadable;
        }
        m_result.sections.push_back({std::string(line.substr(1, end - 1)), m_line});
        return line;
    }

    /// A line that should have been an entry, and that inih made none of, is none.
    void endLine()
    {
        if (std::exchange(m_isEntry, false))
            report("neither a section nor NAME = VALUE");
    }

    void report(std::string text) { m_result.problems.push_back({std::move(text), m_line}); }

    std::string_view m_rest;
    int m_line = 0;
    bool m_isEntry = false; ///< the line should be an entry, and none has come
    IniText m_result;
    std::exception_ptr m_thrown;
};

} // namespace

IniText parseIni(std::string_view text)
{
    return IniParser(text).run();
}

} // namespace korv
