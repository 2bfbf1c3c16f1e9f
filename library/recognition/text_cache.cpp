#include "library/recognition/text_cache.h"

#include "library/base/log.h"
#include "library/files/atomic_file.h"
#include "library/files/source_file.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace korv {

namespace {

namespace fs = std::filesystem;

constexpr char kExtension[] = ".text";

/// Only the owner reads what is on the pages.
void makePrivateFolder(const fs::path &folder)
{
    std::error_code ignored;
    fs::create_directories(folder.parent_path(), ignored);
    static_cast<void>(::mkdir(folder.c_str(), S_IRWXU));
}

struct CachedFile
{
    fs::file_time_type used;
    std::uint64_t size = 0;
    fs::path path;
};

std::vector<CachedFile> filesIn(const std::string &folder)
{
    std::vector<CachedFile> files;
    std::error_code error;
    for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        std::error_code gone;
        const CachedFile file{at->last_write_time(gone), at->file_size(gone), at->path()};
        if (!gone && file.path.extension() == kExtension)
            files.push_back(file);
    }
    return files;
}

} // namespace

TextCache::TextCache(std::string folder, std::uint64_t maxSize)
    : m_folder(std::move(folder))
    , m_maxSize(maxSize)
{
}

std::string TextCache::pathOf(const ContentKey &key, const std::string &kind) const
{
    return m_folder + "/" + hexadecimal(key) + "-" + kind + kExtension;
}

std::optional<std::string> TextCache::find(const ContentKey &key, const std::string &kind) const
{
    const std::string path = pathOf(key, kind);
    Bytes content;
    if (!readSourceFile(path, content))
        return std::nullopt;
    // its time says when it was last asked for
    static_cast<void>(::utimensat(AT_FDCWD, path.c_str(), nullptr, 0));
    return std::string(content.begin(), content.end());
}

void TextCache::store(const ContentKey &key, const std::string &kind, const std::string &output)
{
    makePrivateFolder(m_folder);
    const Result<void> written = writeFileAtomically(
        pathOf(key, kind), ByteView(output.data(), output.size()), Existing::Replace);
    if (!written)
        logDebug([&] { return "the text of a page is not kept: " + written.error().text; });
    makeRoom();
}

void TextCache::makeRoom() const
{
    std::vector<CachedFile> files = filesIn(m_folder);
    std::uint64_t size = 0;
    for (const CachedFile &file : files)
        size += file.size;
    std::sort(files.begin(), files.end(),
              [](const CachedFile &a, const CachedFile &b) { return a.used < b.used; });
    for (const CachedFile &file : files) {
        if (size <= m_maxSize)
            return;
        std::error_code ignored;
        fs::remove(file.path, ignored);
        size -= file.size;
    }
}

} // namespace korv
