#pragma once

#include <string>
#include <vector>

namespace cli {

/// What decides whether a user may open a video node.
struct NodeRights
{
    std::string group; ///< that owns the node; its number when it has no name
    bool groupMayOpen = false; ///< read and write, which a camera needs
    /// The user is a member by the system's list. Whoever is, and still may not open the node, has
    /// logged in before.
    bool userIsMember = false;
};

/// Nothing is allowed by a node that is not there.
NodeRights rightsOf(const std::string &path);

/// Whether this user may open the node, answered without opening it.
bool isForbidden(const std::string &path);

/// What to do about nodes that this user may not open, for a person; `rights` are the first one's.
std::string adviceOnRights(const std::vector<std::string> &paths, const NodeRights &rights);

} // namespace cli
