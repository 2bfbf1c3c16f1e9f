#include "util/noderights.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace noderights {
namespace {

/// Room for an entry of the system's lists of users and groups.
using EntryText = std::array<char, 4096>;

std::string nameOf(gid_t group)
{
    EntryText text{};
    struct group entry = {};
    struct group *found = nullptr;
    if (getgrgid_r(group, &entry, text.data(), text.size(), &found) != 0 || found == nullptr)
        return std::to_string(group);
    return found->gr_name;
}

bool listsUserIn(gid_t group)
{
    EntryText text{};
    struct passwd entry = {};
    struct passwd *user = nullptr;
    if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &user) != 0 || user == nullptr)
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
    rights.group = nameOf(state.st_gid);
    rights.groupMayOpen = (state.st_mode & kGroupRights) == kGroupRights;
    rights.userIsMember = listsUserIn(state.st_gid);
    rights.processIsMember = group_member(state.st_gid) != 0;
    return rights;
}

bool isForbidden(const std::string &path)
{
    return access(path.c_str(), R_OK | W_OK) != 0 && errno == EACCES;
}

std::string remedyFor(const NodeRights &rights)
{
    if (!rights.groupMayOpen)
        return "no group may, the administrator has to give the rights";
    if (rights.userIsMember && !rights.processIsMember)
        return "the group " + rights.group + " counts from the next login on: log in again";
    return "`sudo adduser $USER " + rights.group + "`, then log in again";
}

} // namespace noderights
