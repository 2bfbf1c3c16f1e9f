#include "cli/calls/pictureproblem.h"

#include "cli/base/translation.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

std::string pictureProblem(const std::string &source, const std::string &name, const Answer &answer)
{
    // read before memory for the text is allocated, which may change errno
    const auto refused = [&name] {
        const char *const reason = std::strerror(errno);
        return name + ": " + reason;
    };
    struct stat state = {};
    if (stat(source.c_str(), &state) != 0)
        return refused();
    if (S_ISDIR(state.st_mode))
        return tr("%1 is a folder, not a picture", name);
    if (access(source.c_str(), R_OK) != 0)
        return refused();
    if (answer.result == -EBADMSG)
        return tr("%1 is not a picture that can be read: %2", name,
                  answer.reason.empty() ? tr("damaged, or no JPEG, PNG, BMP or TIFF file")
                                        : answer.reason);
    return {};
}

} // namespace cli
