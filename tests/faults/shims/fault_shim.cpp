#include "tests/faults/shims/fault_shim.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

enum class Kind {
    None,
    Open,
    Read,
    Write,
    Sync,
    Rename,
    Link,
    Short,
    Any,
    Full,
    Kill,
    Stop,
    Quiet
};

std::atomic<Kind> armedKind{Kind::None};
std::atomic<int> callsLeft{0};
std::atomic<int> armedError{0};
std::atomic<int> missingFeatures{0};

/// Whether this very call is the one that fails.
bool isTheOne(Kind kind)
{
    return armedKind == kind && callsLeft.fetch_sub(1) == 1;
}

/// A process may die at every call; a call that only tidies up has no reason to fail.
void dieIfArmed()
{
    if (isTheOne(Kind::Kill))
        ::kill(::getpid(), SIGKILL);
}

bool isFull(Kind kind)
{
    return kind == Kind::Write && armedKind == Kind::Full && callsLeft.fetch_sub(1) <= 1;
}

bool fails(Kind kind)
{
    dieIfArmed();
    if (!isTheOne(kind) && !isTheOne(Kind::Any) && !isFull(kind))
        return false;
    errno = armedError;
    return true;
}

/// Thousands of real syncs would only measure the disk.
template <typename Sync> int syncUnlessArmed(Sync sync, int file)
{
    if (isTheOne(Kind::Stop))
        ::raise(SIGSTOP);
    if (fails(Kind::Sync))
        return -1;
    return armedKind == Kind::None ? sync(file) : 0;
}

bool lacks(MissingFeature feature, int error)
{
    if ((missingFeatures & feature) == 0)
        return false;
    errno = error;
    return true;
}

template <typename Function> Function next(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

mode_t modeOf(int flags, va_list arguments)
{
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? va_arg(arguments, mode_t) : 0;
}

bool refusesOpen(int flags)
{
    if ((flags & O_TMPFILE) == O_TMPFILE && lacks(NoNamelessFiles, EOPNOTSUPP))
        return true;
    return fails(Kind::Open);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) void armFault(const char *kind, int nth, int error)
{
    constexpr struct
    {
        const char *name;
        Kind kind;
    } kKinds[] = {{"open", Kind::Open},   {"read", Kind::Read}, {"write", Kind::Write},
                  {"fsync", Kind::Sync},  {"link", Kind::Link}, {"rename", Kind::Rename},
                  {"short", Kind::Short}, {"any", Kind::Any},   {"full", Kind::Full},
                  {"kill", Kind::Kill},   {"stop", Kind::Stop}, {"quiet", Kind::Quiet}};
    armedError = error;
    callsLeft = nth;
    for (const auto &known : kKinds) {
        if (std::strcmp(known.name, kind) == 0)
            armedKind = known.kind;
    }
}

__attribute__((visibility("default"))) bool disarmFault()
{
    const bool happened = armedKind != Kind::None && callsLeft <= 0;
    armedKind = Kind::None;
    return happened;
}

__attribute__((visibility("default"))) void setMissingFeatures(int features)
{
    missingFeatures = features;
}

__attribute__((constructor)) static void armFromEnvironment()
{
    char kind[16] = "";
    int nth = 0;
    int error = 0;
    const char *wish = std::getenv("KORV_FAULT");
    if (wish != nullptr && std::sscanf(wish, "%15[a-z]:%d:%d", kind, &nth, &error) == 3)
        armFault(kind, nth, error);
    if (const char *lacking = std::getenv("KORV_FILE_SYSTEM_LACKS"))
        setMissingFeatures(std::atoi(lacking));
}

#define KORV_HOOK __attribute__((visibility("default")))

KORV_HOOK int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static const auto real = next<int (*)(const char *, int, ...)>("open");
    return refusesOpen(flags) ? -1 : real(path, flags, mode);
}

KORV_HOOK int openat(int folder, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static const auto real = next<int (*)(int, const char *, int, ...)>("openat");
    return refusesOpen(flags) ? -1 : real(folder, path, flags, mode);
}

KORV_HOOK ssize_t read(int file, void *to, size_t size)
{
    static const auto real = next<ssize_t (*)(int, void *, size_t)>("read");
    return fails(Kind::Read) ? -1 : real(file, to, size);
}

KORV_HOOK ssize_t pread(int file, void *to, size_t size, off_t offset)
{
    static const auto real = next<ssize_t (*)(int, void *, size_t, off_t)>("pread");
    return fails(Kind::Read) ? -1 : real(file, to, size, offset);
}

KORV_HOOK ssize_t write(int file, const void *from, size_t size)
{
    static const auto real = next<ssize_t (*)(int, const void *, size_t)>("write");
    if (fails(Kind::Write))
        return -1;
    return real(file, from, size > 1 && isTheOne(Kind::Short) ? size / 2 : size);
}

KORV_HOOK ssize_t pwrite(int file, const void *from, size_t size, off_t offset)
{
    static const auto real = next<ssize_t (*)(int, const void *, size_t, off_t)>("pwrite");
    if (fails(Kind::Write))
        return -1;
    return real(file, from, size > 1 && isTheOne(Kind::Short) ? size / 2 : size, offset);
}

KORV_HOOK ssize_t copy_file_range(int from, off64_t *fromOffset, int to, off64_t *toOffset,
                                  size_t size, unsigned flags)
{
    static const auto real =
        next<ssize_t (*)(int, off64_t *, int, off64_t *, size_t, unsigned)>("copy_file_range");
    if (fails(Kind::Write))
        return -1;
    const size_t taken = size > 1 && isTheOne(Kind::Short) ? size / 2 : size;
    return real(from, fromOffset, to, toOffset, taken, flags);
}

KORV_HOOK int fsync(int file)
{
    static const auto real = next<int (*)(int)>("fsync");
    return syncUnlessArmed(real, file);
}

KORV_HOOK int fdatasync(int file)
{
    static const auto real = next<int (*)(int)>("fdatasync");
    return syncUnlessArmed(real, file);
}

KORV_HOOK int rename(const char *from, const char *to) noexcept
{
    static const auto real = next<int (*)(const char *, const char *)>("rename");
    return fails(Kind::Rename) ? -1 : real(from, to);
}

KORV_HOOK int renameat(int fromFolder, const char *from, int toFolder, const char *to) noexcept
{
    static const auto real = next<int (*)(int, const char *, int, const char *)>("renameat");
    return fails(Kind::Rename) ? -1 : real(fromFolder, from, toFolder, to);
}

KORV_HOOK int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
                        unsigned flags) noexcept
{
    static const auto real =
        next<int (*)(int, const char *, int, const char *, unsigned)>("renameat2");
    if ((flags & RENAME_NOREPLACE) != 0 && lacks(NoRenameWithoutReplacing, EINVAL))
        return -1;
    return fails(Kind::Rename) ? -1 : real(fromFolder, from, toFolder, to, flags);
}

KORV_HOOK int linkat(int fromFolder, const char *from, int toFolder, const char *to,
                     int flags) noexcept
{
    static const auto real = next<int (*)(int, const char *, int, const char *, int)>("linkat");
    if (lacks(NoLinks, EPERM))
        return -1;
    return fails(Kind::Link) ? -1 : real(fromFolder, from, toFolder, to, flags);
}

KORV_HOOK int unlinkat(int folder, const char *path, int flags) noexcept
{
    static const auto real = next<int (*)(int, const char *, int)>("unlinkat");
    dieIfArmed();
    return real(folder, path, flags);
}

KORV_HOOK int unlink(const char *path) noexcept
{
    static const auto real = next<int (*)(const char *)>("unlink");
    dieIfArmed();
    return real(path);
}

KORV_HOOK int flock(int file, int operation) noexcept
{
    static const auto real = next<int (*)(int, int)>("flock");
    dieIfArmed();
    if (lacks(NoLocks, ENOLCK))
        return -1;
    return real(file, operation);
}
}
