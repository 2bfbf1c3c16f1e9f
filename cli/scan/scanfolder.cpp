#include "cli/scan/scanfolder.h"

#include "cli/base/filecontent.h"
#include "cli/base/filenames.h"
#include "cli/commandline/namepattern.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr char kKind[] = "scan-";
constexpr char kDocument[] = "document"; ///< holds the document's name
constexpr char kNext[] = "next.jpg"; ///< a page that is not complete yet
constexpr char kPages[] = "page-%05d.jpg";

const NamePattern &pageNames()
{
    static const NamePattern pattern = *NamePattern::read(kPages);
    return pattern;
}

std::vector<std::string> pagesIn(const std::string &folder)
{
    std::vector<std::string> pages;
    std::error_code error;
    for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        if (pageNames().numberIn(at->path().filename().string()))
            pages.push_back(at->path().string());
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

int writeAndSync(const std::string &path, const std::string &content)
{
    {
        std::ofstream file(path, std::ios::binary);
        if (!(file << content).flush())
            return EIO;
    }
    return syncFile(path);
}

fs::file_time_type timeOf(const std::string &path)
{
    std::error_code unknown;
    return fs::last_write_time(path, unknown);
}

} // namespace

int syncFile(const std::string &path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file && fsync(file.get()) == 0 ? 0 : errno;
}

std::vector<KeptScan> keptScans(const std::string &destination)
{
    std::vector<KeptScan> kept;
    for (const std::string &path :
         hiddenFoldersIn(folderOf(destination), hiddenFolderPrefix(kKind))) {
        HiddenFolder folder;
        if (folder.adopt(path) != 0)
            continue;
        KeptScan scan{path, contentOf(path + "/" + kDocument), pagesIn(path).size()};
        if (scan.pages == 0)
            folder.remove(); // killed before its first page
        else
            kept.push_back(std::move(scan));
    }
    std::sort(kept.begin(), kept.end(), [](const KeptScan &one, const KeptScan &other) {
        return timeOf(one.folder) < timeOf(other.folder);
    });
    return kept;
}

ScanFolder::ScanFolder(const std::string &destination)
{
    const std::string parent = folderOf(destination);
    const Descriptor opened(open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    m_error = opened ? m_folder.make(opened.get(), parent, hiddenFolderPrefix(kKind)) : errno;
    if (m_error != 0)
        return;
    m_error = writeAndSync(m_folder.path() + "/" + kDocument, fileNameOf(destination));
    // pages are as safe as the folder's own name; one that may not be read cannot be synced
    static_cast<void>(syncFile(parent));
}

ScanFolder::ScanFolder(const KeptScan &kept)
    : m_error(m_folder.adopt(kept.folder))
{
    if (m_error == 0)
        m_pages = pagesIn(kept.folder);
}

ScanFolder::~ScanFolder()
{
    if (m_pages.empty())
        m_folder.remove();
}

std::string ScanFolder::nextPath() const
{
    return m_folder.path() + "/" + kNext;
}

Published ScanFolder::keep()
{
    const int last =
        m_pages.empty() ? 0 : pageNames().numberIn(fileNameOf(m_pages.back())).value_or(0);
    Published page{syncFile(nextPath()), m_folder.path() + "/" + pageNames().path(last + 1)};
    if (page.error == 0 && rename(nextPath().c_str(), page.path.c_str()) != 0)
        page.error = errno;
    if (page.error == 0 && fsync(m_folder.descriptor()) != 0)
        page.error = errno;
    if (page.error == 0)
        m_pages.push_back(page.path);
    return page;
}

void ScanFolder::discard()
{
    m_folder.removeAs(hiddenFolderPrefix(""));
    m_pages.clear();
}

} // namespace cli
