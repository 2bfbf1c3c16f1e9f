#include "library/export/rescue.h"

#include "library/base/log.h"
#include "library/files/atomic_file.h"
#include "library/files/file_names.h"
#include "library/files/folder.h"
#include "library/files/kept_names.h"
#include "library/files/moves.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr std::size_t kCopyChunk = 256 * 1024;

/// An empty file holds no photograph: it is what a killed program's claim of the name left.
bool holdsSomething(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}

bool isLink(const std::string &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// A way to keep one source. take() is called with one path after the other until the answer is not
/// -EEXIST.
class Way
{
public:
    virtual ~Way() = default;
    virtual Result<void> take(const std::string &path) = 0;
};

class Linking : public Way
{
public:
    explicit Linking(const std::string &source)
        : m_source(source)
    {
    }
    Result<void> take(const std::string &path) override
    {
        // a working file may be a symbolic link: what it leads to is the photograph
        if (::linkat(AT_FDCWD, m_source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0)
            return systemError(errno, "link ", path);
        return {};
    }

private:
    const std::string &m_source;
};

/// Copies once, however many names are taken.
class Copying : public Way
{
public:
    explicit Copying(const std::string &source)
        : m_source(source)
    {
    }
    Result<void> take(const std::string &path) override
    {
        struct stat status = {};
        if (::lstat(path.c_str(), &status) == 0)
            return systemError(EEXIST, "copy to ", path);
        if (!m_copy) {
            if (Result<void> copied = copyTo(path); !copied)
                return copied;
        }
        Result<void> committed = m_copy->commitAs(fileNameOf(path));
        return m_copy->isNamed() ? Result<void>() : committed;
    }

private:
    Result<void> copyTo(const std::string &path)
    {
        const UniqueFd from(::open(m_source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        if (!from)
            return systemError(errno, "open ", m_source);
        Result<std::unique_ptr<AtomicFile>> to = AtomicFile::create(path, Existing::Refuse);
        if (!to)
            return to.error();
        Bytes chunk(kCopyChunk);
        for (;;) {
            const ssize_t count = ::read(from.get(), chunk.data(), chunk.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return systemError(errno, "read ", m_source);
            if (count == 0)
                break;
            const ByteView part = ByteView(chunk).first(static_cast<std::size_t>(count));
            if (Result<void> written = to.value()->write(part); !written)
                return written;
        }
        m_copy = std::move(to).value();
        return {};
    }

    const std::string &m_source;
    std::unique_ptr<AtomicFile> m_copy;
};

/// The last resort: nothing is left under the working name, but no space is needed either.
class Renaming : public Way
{
public:
    explicit Renaming(const std::string &source)
        : m_source(source)
    {
    }
    Result<void> take(const std::string &path) override
    {
        const std::string source = folderOf(m_source);
        const std::string target = folderOf(path);
        if (isLink(m_source) && source != target)
            return systemError(EXDEV, "rename the link to ", path); // it might lead nowhere there
        const Result<Folder> from = Folder::open(source);
        if (!from)
            return from.error();
        const Result<Folder> to = Folder::open(target);
        if (!to)
            return to.error();
        const FolderLock lock(to.value());
        return moveToFreeName(from.value(), fileNameOf(m_source), to.value(), fileNameOf(path));
    }

private:
    const std::string &m_source;
};

class Rescuer
{
public:
    explicit Rescuer(const std::string &destination)
        : m_folder(folderOf(destination))
    {
        const std::string name = fileNameOf(destination);
        const std::size_t dot = name.rfind('.');
        m_stem = dot == 0 ? name : name.substr(0, dot);
    }

    void keep(const std::string &source)
    {
        const std::string extension = extensionByContent(source);
        std::vector<std::string> folders = {m_folder};
        if (folderOf(source) != m_folder)
            folders.push_back(folderOf(source));
        Linking linking(source);
        Renaming renaming(source);
        std::string why;
        for (const std::string &folder : folders) {
            Copying copying(source);
            if (keepIn(folder, source, extension, linking, why)
                || keepIn(folder, source, extension, copying, why))
                return;
        }
        for (const std::string &folder : folders) {
            if (keepIn(folder, source, extension, renaming, why))
                return;
        }
        logLine(LogLevel::Error, "could not keep " + source, why);
    }

    void syncFolders() const
    {
        for (const std::string &path : m_touched) {
            const Result<Folder> folder = Folder::open(path);
            // one that cannot be read cannot be synced; its files were
            if (!folder || (folder.value().isReadable() && !folder.value().sync(-1)))
                logLine(LogLevel::Warning, "could not sync the folder " + path);
        }
    }

private:
    /// A way that fails, also for want of memory, is not the last one: `why` says what was wrong.
    bool keepIn(const std::string &folder, const std::string &source, const std::string &extension,
                Way &way, std::string &why)
    {
        try {
            Result<void> kept = takeFreeName(folder, source, extension, way);
            if (!kept)
                why = kept.error().text;
            return static_cast<bool>(kept);
        } catch (const std::exception &failure) {
            why = failure.what();
            return false;
        }
    }

    Result<void> takeFreeName(const std::string &folder, const std::string &source,
                              const std::string &extension, Way &way)
    {
        for (int number = m_next; number <= kMaxKeptFiles; ++number) {
            const std::string path = folder + "/" + rescuedName(m_stem, number, extension);
            const Result<void> kept = way.take(path);
            if (kept) {
                m_next = number + 1;
                m_touched.insert(folder);
                logLine(LogLevel::Info, "kept " + source + " as " + path);
                return {};
            }
            if (kept.code() != -EEXIST)
                return kept;
        }
        return Error{-EEXIST, "no free name in " + folder};
    }

    std::string m_folder;
    std::string m_stem;
    int m_next = 1;
    std::set<std::string> m_touched; ///< folders
};

bool callerDeletesNothing()
{
    const char *value = std::getenv("KORV_CAMERA_NO_RESCUE");
    return value != nullptr && *value != '\0';
}

} // namespace

void rescuePages(const std::vector<std::string> &sources, const std::string &destination)
{
    if (callerDeletesNothing())
        return;
    Rescuer rescuer(destination);
    std::set<std::string> done;
    for (const std::string &source : sources) {
        if (!isWorkingFile(source) || !done.insert(source).second)
            continue;
        try {
            if (holdsSomething(source))
                rescuer.keep(source);
        } catch (const std::exception &failure) {
            logLine(LogLevel::Error, "could not keep " + source, failure.what());
        }
    }
    rescuer.syncFolders();
}

} // namespace korv
