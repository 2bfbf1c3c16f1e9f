#pragma once

#include "library/base/result.h"
#include "library/base/unique_fd.h"

#include <string>

namespace korv {

/// A folder that files are made and named in. Any thread.
class Folder
{
public:
    /// A folder that may be written but not read will do. Errors: what the system answered.
    static Result<Folder> open(const std::string &path);

    int fd() const { return m_fd.get(); }
    bool isReadable() const { return m_readable; }

    /// Whether something has this name, also a link that leads nowhere.
    bool holds(const std::string &name) const;

    /// Writes the names in it to the disk; where it cannot be read, at least `file` and what that is
    /// called. File systems that cannot sync a folder are no failure.
    /// Errors: what the system answered.
    Result<void> sync(int file) const;

    /// Removes a file's name; a failure is not told.
    void remove(const std::string &name) const;

private:
    Folder(UniqueFd fd, bool readable)
        : m_fd(std::move(fd))
        , m_readable(readable)
    {
    }

    UniqueFd m_fd;
    bool m_readable;
};

/// Keeps the other programs and threads that use this library from naming files in the folder, as
/// long as the object lives; not on other machines. Waits for them, but not longer than a second:
/// somebody who holds the folder for another reason must not stop the work. Not twice at a time for
/// one Folder object.
class FolderLock
{
public:
    explicit FolderLock(const Folder &folder);
    ~FolderLock();
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;

    bool isHeld() const { return m_held; }

private:
    const Folder &m_folder;
    bool m_held = false;
};

} // namespace korv
