#pragma once

#include "cli/base/descriptor.h"

#include <string>
#include <vector>

namespace cli {

/// How the folders of that kind begin on this machine: ".korvcam-" and more. On a network share those
/// of another machine are left alone: its locks may not be seen from here.
std::string hiddenFolderPrefix(const std::string &kind);

/// A hidden folder of a run's own, locked while the run lives, so that other runs can tell it from
/// one that a killed run left. Destruction unlocks it and leaves it in place.
class HiddenFolder
{
public:
    HiddenFolder() = default;

    /// Makes one, with a name of chance behind `prefix`, in the folder `parent` that `parentFd` is open
    /// on. 0 or an errno.
    int make(int parentFd, const std::string &parent, const std::string &prefix);

    /// Takes over the folder that another run left behind. 0; EWOULDBLOCK when that run lives, EPERM
    /// when the folder is not ours; or another errno.
    int adopt(const std::string &path);

    explicit operator bool() const { return static_cast<bool>(m_own); }
    int descriptor() const { return m_own.get(); }
    const std::string &path() const { return m_path; }

    /// Removes it with everything in it. Errors are passed over.
    void remove();

    /// The same, and at once: first it gets a name that begins with `prefix`, so that a run that is
    /// killed meanwhile leaves nothing under the old one.
    void removeAs(const std::string &prefix);

private:
    int lock();

    std::string m_path;
    Descriptor m_own; ///< the folder
    Descriptor m_lock; ///< a file in it
};

/// The folders in `parent` whose names begin with `prefix`, whoever owns them; none when it cannot be
/// read.
std::vector<std::string> hiddenFoldersIn(const std::string &parent, const std::string &prefix);

} // namespace cli
