#include "cli/commandline/namepattern.h"

#include "cli/base/filenames.h"

#include <cstddef>

namespace cli {
namespace {

constexpr std::size_t kMaxDigits = 9;

bool isDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

} // namespace

std::optional<NamePattern> NamePattern::read(const std::string &path)
{
    const std::string name = fileNameOf(path);
    NamePattern pattern;
    pattern.m_folder = path.substr(0, path.size() - name.size());
    bool found = false;
    for (std::size_t at = 0; at < name.size(); ++at) {
        std::string &part = found ? pattern.m_after : pattern.m_before;
        if (name[at] != '%') {
            part += name[at];
            continue;
        }
        if (name.compare(at, 2, "%%") == 0) {
            part += name[++at];
            continue;
        }
        std::size_t next = at + 1;
        if (next < name.size() && name[next] == '0')
            ++next;
        int width = 0;
        if (next < name.size() && isDigit(name[next]) && name[next] != '0')
            width = name[next++] - '0';
        if (found || next >= name.size() || name[next] != 'd')
            return std::nullopt;
        found = true;
        pattern.m_width = width;
        at = next;
    }
    return found ? std::optional(pattern) : std::nullopt;
}

std::string NamePattern::path(int number) const
{
    std::string digits = std::to_string(number);
    const auto width = static_cast<std::size_t>(m_width);
    if (digits.size() < width)
        digits.insert(0, width - digits.size(), '0');
    return m_folder + m_before + digits + m_after;
}

std::optional<int> NamePattern::numberIn(const std::string &fileName) const
{
    const std::size_t around = m_before.size() + m_after.size();
    if (fileName.size() <= around || fileName.compare(0, m_before.size(), m_before) != 0)
        return std::nullopt;
    const std::string digits = fileName.substr(m_before.size(), fileName.size() - around);
    if (digits.size() > kMaxDigits || digits.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const int number = std::stoi(digits);
    const bool isOurs = fileNameOf(path(number)) == fileName;
    return isOurs ? std::optional(number) : std::nullopt;
}

} // namespace cli
