#include "cli/advice/advice.h"

#include "cli/base/translation.h"

#include <cerrno>

namespace cli {

std::string advice(int result)
{
    switch (-result) {
    case EBUSY:
        return tr("another program is using the camera; close it and try again");
    case EACCES:
    case EPERM:
        return tr(
            "this user may not use the camera: `sudo adduser $USER video`, then log in again");
    case ENODEV:
        return tr("the camera is unplugged, or its cable is loose");
    case EIO:
    case ETIMEDOUT:
        return tr("the camera is not responding correctly; unplug it and plug it in again, at "
                  "another port if that does not help");
    case ENOSPC:
        return tr("the USB bus is full: move other devices to another port, or choose a smaller "
                  "resolution");
    default:
        return {};
    }
}

std::string adviceOnRights(const std::vector<std::string> &paths,
                           const noderights::NodeRights &rights)
{
    std::string text;
    for (const std::string &path : paths)
        text += (text.empty() ? "" : " ") + path;
    const std::string remedy = trSentence(noderights::remedyFor(rights));
    return paths.size() == 1 ? tr("%1: this user may not open it; %2", text, remedy)
                             : tr("%1: this user may not open them; %2", text, remedy);
}

} // namespace cli
