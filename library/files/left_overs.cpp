#include "library/files/left_overs.h"

#include "library/base/exception_error.h"
#include "library/base/handle.h"
#include "library/base/log.h"
#include "library/files/file_names.h"
#include "library/files/new_file.h"
#include "library/values/random_text.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

using OpenDirectory = Handle<DIR, closedir>;

constexpr std::string_view kHead = ".korv-";
constexpr std::string_view kTail = ".part";
constexpr std::string_view kRandomLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLength = 12;
constexpr std::size_t kMaxNameLength = 255;

/// Eight digits that stand for the machine; its id itself is not to be told (machine-id(5)).
std::string machineMark()
{
    char id[64] = {};
    const UniqueFd file(::open("/etc/machine-id", O_RDONLY | O_CLOEXEC));
    if (!file || ::pread(file.get(), id, sizeof id - 1, 0) < 32)
        ::gethostname(id, sizeof id - 1);
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char letter : std::string_view(id))
        hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
    char mark[16];
    std::snprintf(mark, sizeof mark, "%08x-", static_cast<unsigned>(hash));
    return mark;
}

std::string partName(const std::string &claimed)
{
    std::string name =
        std::string(kHead) + machineMark() + randomText(kRandomLength, kRandomLetters);
    const std::string addition = claimed.empty() ? claimed : "+" + claimed;
    // a claim that is too long to be noted is not cleared, that is all
    if (name.size() + addition.size() + kTail.size() <= kMaxNameLength)
        name += addition;
    return name + std::string(kTail);
}

bool isLockedByOthers(int file)
{
    return ::flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

Result<PartFile> createNamedPart(const Folder &folder, const std::string &claimed)
{
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        PartFile part;
        part.name = partName(claimed);
        part.file.reset(::openat(folder.fd(), part.name.c_str(),
                                 O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kNewFileMode));
        if (!part.file && errno != EEXIST && errno != EINTR)
            return systemError(errno, "create a part");
        // before it was locked, somebody who clears the folder may have taken it for a left-over
        if (part.file && !isLockedByOthers(part.file.get()) && folder.holds(part.name))
            return part;
        if (part.file)
            folder.remove(part.name);
    }
    return systemError(EBUSY, "create a part");
}

std::vector<std::string> listParts(const Folder &folder)
{
    std::vector<std::string> names;
    UniqueFd listed(::openat(folder.fd(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const OpenDirectory directory(listed ? ::fdopendir(listed.get()) : nullptr);
    if (!directory)
        return names;
    listed.release(); // the directory's now
    const std::string head = std::string(kHead) + machineMark();
    while (const dirent *entry = ::readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name.size() >= head.size() + kRandomLength + kTail.size()
            && name.compare(0, head.size(), head) == 0
            && name.compare(name.size() - kTail.size(), kTail.size(), kTail) == 0)
            names.push_back(name);
    }
    return names;
}

/// What a note says; nothing for other parts.
std::optional<std::string> claimedName(const std::string &part)
{
    const std::size_t start = kHead.size() + machineMark().size() + kRandomLength;
    if (start >= part.size() - kTail.size() || part[start] != '+')
        return std::nullopt;
    return part.substr(start + 1, part.size() - kTail.size() - start - 1);
}

void removeIfEmpty(const Folder &folder, const std::string &name)
{
    struct stat status = {};
    if (::fstatat(folder.fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(status.st_mode) && status.st_size == 0)
        folder.remove(name);
}

void clearPart(const Folder &folder, const std::string &name)
{
    // for writing as well: without that, some network file systems refuse the lock
    const UniqueFd part(
        ::openat(folder.fd(), name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!part || ::fstat(part.get(), &status) != 0 || !S_ISREG(status.st_mode)
        || ::flock(part.get(), LOCK_EX | LOCK_NB) != 0)
        return;
    if (const std::optional<std::string> claimed = claimedName(name))
        removeIfEmpty(folder, *claimed);
    folder.remove(name);
}

void clear(const std::string &path)
{
    const Result<Folder> folder = Folder::open(path);
    if (!folder || !folder.value().isReadable())
        return;
    const std::vector<std::string> parts = listParts(folder.value());
    if (parts.empty())
        return;
    const FolderLock lock(folder.value());
    // names are claimed under this lock; without it nobody knows who still wants one
    if (!lock.isHeld())
        return;
    for (const std::string &part : parts)
        clearPart(folder.value(), part);
}

} // namespace

Result<PartFile> createPart(const Folder &folder)
{
    return createNamedPart(folder, {});
}

Result<PartFile> createClaimNote(const Folder &folder, const std::string &claimed)
{
    return createNamedPart(folder, claimed);
}

std::string newPartName()
{
    return partName({});
}

void lockPart(int file)
{
    static_cast<void>(isLockedByOthers(file)); // nobody else has the file yet
}

void LeftOvers::clearOnce(const std::string &folder) noexcept
{
    try {
        {
            const MutexLock lock(m_mutex);
            if (!m_cleared.insert(folder).second)
                return;
        }
        clear(folder);
    } catch (...) { // tidying up is never a reason to fail
        logLine(LogLevel::Debug, "could not tidy up", folder, errorInFlight().text);
    }
}

} // namespace korv
