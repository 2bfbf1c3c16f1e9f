#include "cli/workspace.h"

#include "cli/base/filenames.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr int kMaxAttempts = 100;
constexpr int kMaxCopies = 9999; ///< files that differ in their number only
constexpr mode_t kPrivate = 0700;
constexpr mode_t kFileMode = 0666; // the umask takes its share

std::string hexadecimal(std::uint32_t number)
{
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", static_cast<unsigned>(number));
    return text.data();
}

/// How our folders begin on this machine. On a network share those of another machine are left
/// alone: its locks may not be seen from here.
std::string folderPrefix()
{
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char *letter = host.data(); *letter != '\0'; ++letter)
        hash = (hash ^ static_cast<unsigned char>(*letter)) * 16777619U;
    return ".korvcam-" + hexadecimal(hash) + "-";
}

bool isOurs(int descriptor)
{
    struct stat state = {};
    return fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode) && state.st_uid == geteuid();
}

/// Removes the folder of a run that is gone: nobody holds its lock.
void removeAbandoned(const fs::path &folder)
{
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    std::error_code ignored;
    if (opened && isOurs(opened.get()) && flock(opened.get(), LOCK_EX | LOCK_NB) == 0)
        fs::remove_all(folder, ignored);
}

void removeAbandonedIn(const std::string &parent)
{
    const std::string prefix = folderPrefix();
    std::error_code error;
    for (fs::directory_iterator at(parent, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        if (at->path().filename().string().compare(0, prefix.size(), prefix) == 0)
            removeAbandoned(at->path());
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
    m_error = make(parent);
}

Workspace::~Workspace()
{
    std::error_code ignored;
    if (m_own)
        fs::remove_all(m_folder, ignored);
}

int Workspace::make(const std::string &parent)
{
    std::random_device random;
    int code = EEXIST;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        const std::string name = folderPrefix() + hexadecimal(random()) + hexadecimal(random());
        m_folder = (parent == "/" ? "" : parent) + "/" + name;
        code = mkdirat(m_parent.get(), name.c_str(), kPrivate) == 0 ? lock() : errno;
        // it was taken, or taken for abandoned before it was locked
        if (code != EEXIST && code != ENOENT)
            break;
    }
    return code;
}

int Workspace::lock()
{
    Descriptor own(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!own)
        return errno;
    // where a file system has no such locks, nobody can take the folder for abandoned either
    static_cast<void>(flock(own.get(), LOCK_EX));
    struct stat state = {};
    if (stat(m_folder.c_str(), &state) != 0)
        return errno;
    m_own = std::move(own);
    return 0;
}

bool Workspace::holds(const std::string &name) const
{
    struct stat state = {};
    return fstatat(m_own.get(), name.c_str(), &state, AT_SYMLINK_NOFOLLOW) == 0
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
    if (renameat(m_own.get(), name.c_str(), m_parent.get(), newName.c_str()) == 0)
        return 0;
    const int code = errno;
    unlinkat(m_parent.get(), newName.c_str(), 0);
    return code;
}

int Workspace::moveTo(const std::string &name, const std::string &newName) const
{
    if (renameat2(m_own.get(), name.c_str(), m_parent.get(), newName.c_str(), RENAME_NOREPLACE)
        == 0)
        return 0;
    if (!isNotSupported(errno))
        return errno;
    if (linkat(m_own.get(), name.c_str(), m_parent.get(), newName.c_str(), 0) == 0)
        return 0; // the other name goes with the folder
    return isNotSupported(errno) ? claimAndMoveTo(name, newName) : errno;
}

Published Workspace::publish(const std::string &wanted, bool replace) const
{
    const std::string name = fileNameOf(wanted);
    Published published{0, wanted};
    if (replace) {
        if (renameat(m_own.get(), name.c_str(), m_parent.get(), name.c_str()) != 0)
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
