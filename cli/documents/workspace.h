#pragma once

#include "cli/base/descriptor.h"
#include "cli/documents/hiddenfolder.h"

#include <string>

namespace cli {

/// A path, or the errno of why there is none.
struct Published
{
    int error = 0;
    std::string path;
};

/// A hidden folder of this run's own beside the file that is to be written. The camera library
/// writes there, under the very name asked for, so that the name under which the file appears is
/// ours to choose and to print. The folder goes with the object, with everything in it; one that a
/// killed run left behind goes when the next run works in the same place.
class Workspace
{
public:
    explicit Workspace(const std::string &destination);
    Workspace(const Workspace &) = delete;
    Workspace &operator=(const Workspace &) = delete;
    ~Workspace();

    /// Why there is no folder, as errno; 0 when there is one.
    int error() const { return m_error; }

    /// The folder.
    const std::string &folder() const { return m_own.path(); }

    /// Where a file of that name is in the folder.
    std::string pathOf(const std::string &name) const { return folder() + "/" + name; }

    /// Whether the folder holds a regular file of that name.
    bool holds(const std::string &name) const;

    /// Moves the file that is called like `wanted` from the folder to `wanted`, or, when that name
    /// is taken, to the next free one of the form "0001 (1).pdf"; with `replace` it takes the place
    /// of what is there. It appears whole or not at all.
    Published publish(const std::string &wanted, bool replace) const;

private:
    int moveTo(const std::string &name, const std::string &newName) const;
    int claimAndMoveTo(const std::string &name, const std::string &newName) const;

    Descriptor m_parent;
    HiddenFolder m_own;
    int m_error = 0;
};

} // namespace cli
