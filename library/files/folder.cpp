#include "library/files/folder.h"

#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr auto kLockPatience = std::chrono::seconds(1);
constexpr auto kLockPause = std::chrono::milliseconds(1);

Result<void> syncDescriptor(int descriptor)
{
    int result = 0;
    do
        result = ::fsync(descriptor);
    while (result != 0 && errno == EINTR);
    return result == 0 ? Result<void>() : systemError(errno, "sync");
}

} // namespace

Result<Folder> Folder::open(const std::string &path)
{
    constexpr int kFlags = O_DIRECTORY | O_CLOEXEC;
    UniqueFd fd(::open(path.c_str(), O_RDONLY | kFlags));
    const bool readable = static_cast<bool>(fd);
    // names can be made in a folder that cannot be read; only listing and syncing it is impossible
    if (!fd && errno == EACCES)
        fd.reset(::open(path.c_str(), O_PATH | kFlags));
    if (!fd)
        return systemError(errno, "open ", path);
    return Folder(std::move(fd), readable);
}

bool Folder::holds(const std::string &name) const
{
    struct stat status = {};
    return ::fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

Result<void> Folder::sync(int file) const
{
    if (m_readable) {
        Result<void> synced = syncDescriptor(fd());
        if (synced || synced.code() != -EINVAL)
            return synced;
        return {}; // some file systems cannot, and that is no failure
    }
    return syncDescriptor(file);
}

void Folder::remove(const std::string &name) const
{
    ::unlinkat(fd(), name.c_str(), 0);
}

FolderLock::FolderLock(const Folder &folder)
    : m_folder(folder)
{
    const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    while (!m_held) {
        m_held = ::flock(folder.fd(), LOCK_EX | LOCK_NB) == 0;
        if (m_held || (errno != EWOULDBLOCK && errno != EINTR)
            || std::chrono::steady_clock::now() > deadline)
            return;
        std::this_thread::sleep_for(kLockPause);
    }
}

FolderLock::~FolderLock()
{
    if (m_held)
        ::flock(m_folder.fd(), LOCK_UN);
}

} // namespace korv
