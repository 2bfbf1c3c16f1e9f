#include "cli/documents/hiddenfolder.h"

#include <algorithm>
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
constexpr mode_t kPrivateFolder = 0700;
/// Locked while a run uses the folder. Not the folder itself: whoever writes a file into it, as the
/// camera library does, locks that for a moment, and would wait for ours in vain.
constexpr char kLockFile[] = "lock";
constexpr mode_t kPrivateFile = 0600;

std::string hexadecimal(std::uint32_t number)
{
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", static_cast<unsigned>(number));
    return text.data();
}

Descriptor openFolder(const std::string &path)
{
    return Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Descriptor openLock(int folder)
{
    return Descriptor(
        openat(folder, kLockFile, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kPrivateFile));
}

bool isOurs(int descriptor)
{
    struct stat state = {};
    return fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode) && state.st_uid == geteuid();
}

} // namespace

std::string hiddenFolderPrefix(const std::string &kind)
{
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char *letter = host.data(); *letter != '\0'; ++letter)
        hash = (hash ^ static_cast<unsigned char>(*letter)) * 16777619U;
    return ".korvcam-" + kind + hexadecimal(hash) + "-";
}

int HiddenFolder::make(int parentFd, const std::string &parent, const std::string &prefix)
{
    std::random_device random;
    int code = EEXIST;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        const std::string name = prefix + hexadecimal(random()) + hexadecimal(random());
        m_path = (parent == "/" ? "" : parent) + "/" + name;
        code = mkdirat(parentFd, name.c_str(), kPrivateFolder) == 0 ? lock() : errno;
        // it was taken, or taken for abandoned before it was locked
        if (code != EEXIST && code != ENOENT)
            break;
    }
    if (code != 0 && code != EEXIST)
        rmdir(m_path.c_str()); // empty when there is no place for the lock
    return code;
}

int HiddenFolder::lock()
{
    Descriptor own = openFolder(m_path);
    if (!own)
        return errno;
    Descriptor lock = openLock(own.get());
    if (!lock)
        return errno;
    // where a file system has no such locks, nobody can take the folder for abandoned either
    static_cast<void>(flock(lock.get(), LOCK_EX));
    struct stat state = {};
    if (stat((m_path + "/" + kLockFile).c_str(), &state) != 0)
        return errno;
    m_own = std::move(own);
    m_lock = std::move(lock);
    return 0;
}

int HiddenFolder::adopt(const std::string &path)
{
    Descriptor own = openFolder(path);
    if (!own)
        return errno;
    if (!isOurs(own.get()))
        return EPERM;
    Descriptor lock = openLock(own.get());
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return errno;
    m_path = path;
    m_own = std::move(own);
    m_lock = std::move(lock);
    return 0;
}

void HiddenFolder::remove()
{
    std::error_code ignored;
    if (m_own)
        fs::remove_all(m_path, ignored);
    m_own.reset();
    m_lock.reset();
}

void HiddenFolder::removeAs(const std::string &prefix)
{
    const std::size_t name = m_path.rfind('/') + 1;
    const std::string path = m_path.substr(0, name) + prefix + m_path.substr(m_path.rfind('-') + 1);
    if (m_own && rename(m_path.c_str(), path.c_str()) == 0)
        m_path = path;
    remove();
}

std::vector<std::string> hiddenFoldersIn(const std::string &parent, const std::string &prefix)
{
    std::vector<std::string> folders;
    std::error_code error;
    for (fs::directory_iterator at(parent, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        if (at->path().filename().string().compare(0, prefix.size(), prefix) == 0)
            folders.push_back(at->path().string());
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

} // namespace cli
