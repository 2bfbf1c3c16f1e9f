#include "cli/documents/workspace.h"

#include "cli/base/filenames.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr int kMaxCopies = 9999; ///< files that differ in their number only
constexpr mode_t kFileMode = 0666; // the umask takes its share

/// Removes the folders of runs that are gone: nobody holds their locks.
void removeAbandonedIn(const std::string &parent)
{
    for (const std::string &path : hiddenFoldersIn(parent, hiddenFolderPrefix(""))) {
        HiddenFolder left;
        if (left.adopt(path) == 0)
            left.remove();
    }
}

bool isNotSupported(int code)
{
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EPERM;
}

} // namespace

Workspace::Workspace(const std::string &destination)
{
    const std::string parent = folderOf(destination);
    // such a descriptor needs no right to read the folder
    m_parent = Descriptor(open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_parent) {
        m_error = errno;
        return;
    }
    removeAbandonedIn(parent);
    m_error = m_own.make(m_parent.get(), parent, hiddenFolderPrefix(""));
}

Workspace::~Workspace()
{
    m_own.remove();
}

bool Workspace::holds(const std::string &name) const
{
    struct stat state = {};
    return fstatat(m_own.descriptor(), name.c_str(), &state, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(state.st_mode);
}

/// For file systems that can neither rename without replacing nor link: an empty file holds the name
/// until ours takes its place.
int Workspace::claimAndMoveTo(const std::string &name, const std::string &newName) const
{
    const Descriptor claim(openat(m_parent.get(), newName.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    if (!claim)
        return errno;
    if (renameat(m_own.descriptor(), name.c_str(), m_parent.get(), newName.c_str()) == 0)
        return 0;
    const int code = errno;
    unlinkat(m_parent.get(), newName.c_str(), 0);
    return code;
}

int Workspace::moveTo(const std::string &name, const std::string &newName) const
{
    if (renameat2(m_own.descriptor(), name.c_str(), m_parent.get(), newName.c_str(),
                  RENAME_NOREPLACE)
        == 0)
        return 0;
    if (!isNotSupported(errno))
        return errno;
    if (linkat(m_own.descriptor(), name.c_str(), m_parent.get(), newName.c_str(), 0) == 0)
        return 0; // the other name goes with the folder
    return isNotSupported(errno) ? claimAndMoveTo(name, newName) : errno;
}

Published Workspace::publish(const std::string &wanted, bool replace) const
{
    const std::string name = fileNameOf(wanted);
    Published published{0, wanted};
    if (replace) {
        if (renameat(m_own.descriptor(), name.c_str(), m_parent.get(), name.c_str()) != 0)
            published.error = errno;
    } else {
        published.error = moveTo(name, name);
        for (int number = 1; published.error == EEXIST && number <= kMaxCopies; ++number) {
            published.path = withInsertion(wanted, " (" + std::to_string(number) + ")");
            published.error = moveTo(name, fileNameOf(published.path));
        }
    }
    // the name is there; a folder that cannot be synced takes nothing of it back
    const Descriptor parent(openat(m_parent.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent && published.error == 0)
        fsync(parent.get());
    return published;
}

} // namespace cli
