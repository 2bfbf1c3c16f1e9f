#include "cli/base/errors.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

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

std::string pictureProblem(const std::string &source, const std::string &name, const Answer &answer)
{
    struct stat state = {};
    if (stat(source.c_str(), &state) != 0)
        return name + ": " + std::strerror(errno);
    if (S_ISDIR(state.st_mode))
        return tr("%1 is a folder, not a picture", name);
    if (access(source.c_str(), R_OK) != 0)
        return name + ": " + std::strerror(errno);
    if (answer.result == -EBADMSG)
        return tr("%1 is not a picture that can be read: %2", name,
                  answer.reason.empty() ? tr("damaged, or no JPEG, PNG, BMP or TIFF file")
                                        : answer.reason);
    return {};
}

std::string placeProblem(const std::string &path, int code)
{
    if (code == ENOENT || code == ENOTDIR)
        return tr("there is no folder %1", folderOf(path));
    return tr("%1 in %2", std::strerror(code), folderOf(path));
}

} // namespace cli
