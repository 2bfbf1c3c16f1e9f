#include "cli/calls/libraryline.h"

namespace cli {
namespace {

bool skip(const std::string &line, std::size_t &at, const std::string &prefix)
{
    if (line.compare(at, prefix.size(), prefix) != 0)
        return false;
    at += prefix.size();
    return true;
}

} // namespace

std::optional<std::string> textOfLibraryLine(const std::string &line)
{
    std::size_t at = 0;
    if (!skip(line, at, "korvcamera: "))
        return std::nullopt;
    for (const char *level : {"error: ", "warning: ", "info: ", "debug: "}) {
        if (skip(line, at, level))
            break;
    }
    return line.substr(at);
}

} // namespace cli
