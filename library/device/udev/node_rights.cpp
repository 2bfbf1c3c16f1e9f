#include "library/device/udev/node_rights.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {
namespace {

std::string groupName(gid_t group)
{
    std::array<char, 4096> text{};
    struct group entry
    {
    };
    struct group *found = nullptr;
    if (::getgrgid_r(group, &entry, text.data(), text.size(), &found) != 0 || !found)
        return std::to_string(group);
    return found->gr_name;
}

} // namespace

std::string whyNotToOpen(const std::string &node)
{
    const int accessible = ::access(node.c_str(), R_OK | W_OK);
    const int error = errno;
    if (accessible == 0)
        return "is busy; another program may be using it";
    if (error != EACCES)
        return std::strerror(error);
    struct stat status
    {
    };
    if (::stat(node.c_str(), &status) != 0)
        return std::strerror(errno);
    constexpr mode_t kGroupRights = S_IRGRP | S_IWGRP;
    if ((status.st_mode & kGroupRights) != kGroupRights)
        return "no permission: the node is not accessible to any group";
    const std::string group = groupName(status.st_gid);
    return "no permission: this user is not in the group \"" + group + "\"; `sudo adduser $USER "
        + group + "`, then log in again";
}

} // namespace korv
