#include "library/device/udev/node_rights.h"

#include "util/noderights.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace korv {

std::string whyNotToOpen(const std::string &node)
{
    const int accessible = ::access(node.c_str(), R_OK | W_OK);
    const int error = errno;
    if (accessible == 0)
        return "is busy; another program may be using it";
    if (error != EACCES)
        return std::strerror(error);
    const noderights::NodeRights rights = noderights::rightsOf(node);
    if (!rights.groupMayOpen)
        return "no permission: the node is not accessible to any group";
    const std::string remedy = noderights::remedyFor(rights);
    if (rights.userIsMember)
        return "no permission: " + remedy;
    return "no permission: this user is not in the group \"" + rights.group + "\"; " + remedy;
}

} // namespace korv
