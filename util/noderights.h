#pragma once

#include <string>

/// Who may open a video node, and what to do about a node that one may not open. Any thread.
namespace noderights {

/// What decides whether a user may open a node.
struct NodeRights
{
    std::string group; ///< that owns the node; its number when it has no name
    bool groupMayOpen = false; ///< read and write, which a camera needs
    bool userIsMember = false; ///< of the group, by the system's list
    /// This process is in the group. A member who is not has logged in before joining it.
    bool processIsMember = false;
};

/// Nothing is allowed by a node that is not there.
NodeRights rightsOf(const std::string &path);

/// Whether this user may open the node, answered without opening it.
bool isForbidden(const std::string &path);

/// What helps a user who may not open a node with these rights, as the end of a sentence.
std::string remedyFor(const NodeRights &rights);

} // namespace noderights
