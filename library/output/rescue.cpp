#include "library/output/rescue.h"

#include "library/base/log.h"
#include "library/base/unique_fd.h"
#include "library/output/atomic_file.h"
#include "library/output/file_names.h"
#include "library/output/image_loader.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr int kMostNumbers = 99'999;
constexpr std::size_t kCopyChunk = 256 * 1024;

UniqueFd openForReading(const std::string &path)
{
    return UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

bool isRegularFile(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// By the content; a damaged head, or one that cannot be read now, leaves what the name says.
std::string extensionFor(const std::string &source)
{
    std::uint8_t head[16] = {};
    const UniqueFd file = openForReading(source);
    const ssize_t count = file ? ::pread(file.get(), head, sizeof head, 0) : 0;
    switch (recogniseFormat({head, static_cast<std::size_t>(count > 0 ? count : 0)})) {
    case SourceFormat::Jpeg:
        return ".jpg";
    case SourceFormat::Png:
        return ".png";
    case SourceFormat::Bmp:
        return ".bmp";
    case SourceFormat::Tiff:
        return ".tif";
    case SourceFormat::Unknown:
        break;
    }
    const std::string extension = extensionOf(source);
    return extension.empty() ? std::string() : "." + extension;
}

Result<void> copyContent(int from, AtomicFile &to)
{
    Bytes chunk(kCopyChunk);
    for (;;) {
        const ssize_t count = ::read(from, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemError(errno, "read");
        if (count == 0)
            return {};
        if (Result<void> written = to.write(ByteView(chunk).first(static_cast<std::size_t>(count)));
            !written)
            return written;
    }
}

Result<void> copyFile(const std::string &source, const std::string &path)
{
    const UniqueFd from = openForReading(source);
    if (!from)
        return systemError(errno, "open " + source);
    Result<std::unique_ptr<AtomicFile>> to = AtomicFile::create(path, Existing::Refuse);
    if (!to)
        return to.error();
    if (Result<void> copied = copyContent(from.get(), *to.value()); !copied)
        return copied;
    Result<void> committed = to.value()->commit();
    return to.value()->isNamed() ? Result<void>() : committed;
}

Result<void> linkFile(const std::string &source, const std::string &path)
{
    // a working file may be a symbolic link: what it leads to is the photograph
    if (::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0)
        return systemError(errno, "link " + path);
    return {};
}

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
        const std::string extension = extensionFor(source);
        using Way = Result<void> (*)(const std::string &, const std::string &);
        std::string why;
        for (const std::string &folder : {m_folder, folderOf(source)}) {
            for (const Way way : {linkFile, copyFile}) {
                Result<void> kept = keepIn(folder, source, extension, way);
                if (kept)
                    return;
                why = kept.error().text;
            }
        }
        logLine("could not keep " + source + ": " + why);
    }

    void syncFolders() const
    {
        for (const std::string &path : m_touched) {
            const UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!folder || ::fsync(folder.get()) != 0)
                logLine("could not sync the folder " + path);
        }
    }

private:
    template <typename Way>
    Result<void> keepIn(const std::string &folder, const std::string &source,
                        const std::string &extension, Way way)
    {
        for (int number = m_next; number <= kMostNumbers; ++number) {
            char suffix[32];
            std::snprintf(suffix, sizeof suffix, "-rescued-%04d", number);
            std::string path = folder + "/" + joinedName(m_stem, suffix + extension);
            const Result<void> kept = way(source, path);
            if (kept) {
                logLine("kept " + source + " as " + path);
                m_touched.insert(folder);
                m_next = number + 1;
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

} // namespace

void rescuePages(const std::vector<std::string> &sources, const std::string &destination)
{
    Rescuer rescuer(destination);
    std::set<std::string> done;
    for (const std::string &source : sources) {
        if (!done.insert(source).second)
            continue;
        try {
            if (isRegularFile(source))
                rescuer.keep(source);
        } catch (const std::exception &failure) {
            logLine("could not keep " + source + ": " + failure.what());
        }
    }
    rescuer.syncFolders();
}

} // namespace korv
