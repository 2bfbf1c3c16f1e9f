#include "cli/base/errors.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace cli {

void printError(const std::string &text)
{
    std::istringstream lines(text);
    std::string whole;
    for (std::string line; std::getline(lines, line);)
        whole += "korvcam: " + line + "\n";
    // in one piece, because other threads write there, too
    std::fwrite(whole.data(), 1, whole.size(), stderr);
}

std::string placeProblem(const std::string &path, int code)
{
    if (code == ENOENT || code == ENOTDIR)
        return tr("there is no folder %1", folderOf(path));
    return tr("%1 in %2", std::strerror(code), folderOf(path));
}

} // namespace cli
