#include "library/files/moves.h"

#include "library/base/log.h"
#include "library/files/file_names.h"
#include "library/files/kept_names.h"
#include "library/files/left_overs.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

bool isNotSupported(int code)
{
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EPERM;
}

bool isFull(int code)
{
    return code == ENOSPC || code == EDQUOT;
}

Result<void> renamed(const Folder &from, const std::string &name, const Folder &to,
                     const std::string &newName)
{
    if (::renameat(from.fd(), name.c_str(), to.fd(), newName.c_str()) != 0)
        return systemError(errno, "rename to ", newName);
    return {};
}

/// An empty file that holds a name, as long as the object lives and nothing has taken its place.
class Claim
{
public:
    Claim(const Folder &folder, const std::string &name)
        : m_folder(folder)
        , m_name(name)
    {
        Result<PartFile> note = createClaimNote(folder, name);
        if (note)
            m_note = std::move(note).value();
        m_file.reset(::openat(folder.fd(), name.c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        m_error = m_file ? 0 : errno;
    }
    ~Claim()
    {
        if (m_file)
            m_folder.remove(m_name);
        if (m_note.file)
            m_folder.remove(m_note.name);
    }
    Claim(const Claim &) = delete;
    Claim &operator=(const Claim &) = delete;

    int error() const { return m_error; }
    void isTaken() { m_file.reset(); }

private:
    const Folder &m_folder;
    const std::string &m_name;
    PartFile m_note;
    UniqueFd m_file;
    int m_error = 0;
};

/// For file systems that can neither rename without replacing nor link: an empty file holds the
/// name until ours takes its place.
Result<void> claimAndReplace(const Folder &from, const std::string &name, const Folder &to,
                             const std::string &newName)
{
    Claim claim(to, newName);
    // a full disk may still let a file change its name; the look is all that protects others then
    if (isFull(claim.error()) && to.holds(newName))
        return systemError(EEXIST, "name ", newName);
    if (claim.error() != 0 && !isFull(claim.error()))
        return systemError(claim.error(), "name ", newName);
    Result<void> moved = renamed(from, name, to, newName);
    if (moved)
        claim.isTaken();
    return moved;
}

} // namespace

Result<void> moveToFreeName(const Folder &from, const std::string &name, const Folder &to,
                            const std::string &newName)
{
    if (::renameat2(from.fd(), name.c_str(), to.fd(), newName.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    if (!isNotSupported(errno) && !isFull(errno))
        return systemError(errno, "rename to ", newName);
    if (::linkat(from.fd(), name.c_str(), to.fd(), newName.c_str(), 0) == 0) {
        if (::unlinkat(from.fd(), name.c_str(), 0) == 0)
            return {};
        const int reason = errno;
        to.remove(newName);
        return systemError(reason, "remove ", name);
    }
    if (!isNotSupported(errno) && !isFull(errno))
        return systemError(errno, "name ", newName);
    return claimAndReplace(from, name, to, newName);
}

Result<void> makeWay(const Folder &folder, const std::string &path)
{
    const std::string name = fileNameOf(path);
    struct stat status = {};
    if (::fstatat(folder.fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemError(errno, "look for ", path);
    if (S_ISDIR(status.st_mode))
        return systemError(EISDIR, "replace ", path);
    if (S_ISREG(status.st_mode) && status.st_size == 0) {
        folder.remove(name);
        return {};
    }
    const std::string extension = extensionByContent(path);
    for (int number = 1; number <= kMaxKeptFiles; ++number) {
        const std::string newName = recoveredName(number, extension);
        if (folder.holds(newName))
            continue;
        Result<void> moved = moveToFreeName(folder, name, folder, newName);
        if (moved)
            logLine(LogLevel::Info,
                    "kept the photograph left behind as " + path + " as " + folderOf(path) + "/"
                        + newName);
        if (moved.code() != -EEXIST)
            return moved;
    }
    return systemError(EEXIST, "find a free name for ", path);
}

} // namespace korv
