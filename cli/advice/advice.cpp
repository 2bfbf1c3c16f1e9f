#include "cli/advice/advice.h"

#include <cerrno>

namespace cli {

std::string advice(int result)
{
    switch (-result) {
    case EBUSY:
        return "another program is using the camera; close it and try again";
    case EACCES:
    case EPERM:
        return "this user may not use the camera: `sudo adduser $USER video`, then log in again";
    case ENODEV:
        return "the camera is unplugged, or its cable is loose";
    case EIO:
    case ETIMEDOUT:
        return "the camera is not responding correctly; unplug it and plug it in again, at "
               "another port if that does not help";
    case ENOSPC:
        return "the USB bus is full: move other devices to another port, or choose a smaller "
               "resolution";
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
    return text + ": this user may not open " + (paths.size() == 1 ? "it" : "them") + "; "
        + noderights::remedyFor(rights);
}

} // namespace cli
