#include "cli/base/translation.h"

#include <clocale>
#include <filesystem>
#include <libintl.h>
#include <system_error>

namespace cli {
namespace {

constexpr char kDomain[] = "korvcam";

} // namespace

void useMessagesIn(const std::string &folder)
{
    // not LC_NUMERIC: what is written for programs keeps its point
    std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_MESSAGES, "");
    if (!folder.empty())
        bindtextdomain(kDomain, folder.c_str());
}

std::string messageFolder()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return {};
    return (program.parent_path().parent_path() / "locale").string();
}

std::string tr(const char *text)
{
    return dgettext(kDomain, text);
}

std::string filled(const std::string &text, const std::vector<std::string> &parts)
{
    std::string whole;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char next = text[at] == '%' && at + 1 < text.size() ? text[at + 1] : '\0';
        const auto number = static_cast<std::size_t>(next - '0');
        if (next >= '1' && next <= '9' && number <= parts.size()) {
            whole += parts[number - 1];
            ++at;
        } else {
            whole += text[at];
        }
    }
    return whole;
}

namespace translation {

std::string formFor(const char *one, const char *many, unsigned long count)
{
    return dngettext(kDomain, one, many, count);
}

} // namespace translation

} // namespace cli
