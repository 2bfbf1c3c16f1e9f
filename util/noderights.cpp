#include "util/noderights.h"

#include <algorithm>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {
namespace {

bool isMember(gid_t group)
{
    const struct passwd *const user = getpwuid(getuid());
    if (!user)
        return false;
    std::vector<gid_t> groups(64);
    int count = static_cast<int>(groups.size());
    if (getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count);
    }
    groups.resize(static_cast<std::size_t>(count));
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

} // namespace

NodeRights rightsOf(const std::string &path)
{
    struct stat state = {};
    if (stat(path.c_str(), &state) != 0)
        return {};
    constexpr mode_t kGroupRights = S_IRGRP | S_IWGRP;
    NodeRights rights;
    const struct group *const entry = getgrgid(state.st_gid);
    rights.group = entry ? entry->gr_name : std::to_string(state.st_gid);
    rights.groupMayOpen = (state.st_mode & kGroupRights) == kGroupRights;
    rights.userIsMember = isMember(state.st_gid);
    return rights;
}

bool isForbidden(const std::string &path)
{
    return access(path.c_str(), R_OK | W_OK) != 0 && errno == EACCES;
}

std::string adviceOnRights(const std::vector<std::string> &paths, const NodeRights &rights)
{
    std::string text;
    for (const std::string &path : paths)
        text += (text.empty() ? "" : " ") + path;
    text += std::string(": this user may not open ") + (paths.size() == 1 ? "it" : "them") + "; ";
    if (!rights.groupMayOpen)
        return text + "no group may, the administrator has to give the rights";
    if (rights.userIsMember)
        return text + "the group " + rights.group + " counts from the next login on: log in again";
    return text + "`sudo adduser $USER " + rights.group + "`, then log in again";
}

} // namespace cli
