#include "cli/calls/pictureproblem.h"

#include "cli/base/translation.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

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

} // namespace cli
