#include "library/export/page_feed.h"

#include "library/base/exceptions_to_errors.h"
#include "library/export/image_loader.h"
#include "library/files/source_file.h"

#include <cerrno>
#include <utility>

namespace korv {

Result<void> PageFeed::readTiff(const std::string &path)
{
    constexpr std::size_t kHead = 16;
    const Result<SourceFile> file = SourceFile::open(path);
    if (!file)
        return file.error();
    Bytes content;
    if (Result<void> read = file.value().read(0, kHead, content); !read)
        return read;
    if (recogniseFormat(content) != SourceFormat::Tiff)
        return {};
    if (Result<void> read = file.value().read(0, file.value().size(), content); !read)
        return read;
    m_pages = tiffPages(content);
    m_page = 0;
    m_tiff = std::make_shared<const Bytes>(std::move(content));
    return {};
}

PageTask PageFeed::pageOfTiff()
{
    PageTask task;
    const bool brokenOff = *m_pages.problem != '\0';
    task.source = m_source;
    task.page = m_page;
    task.pages = m_pages.directories.size() + (brokenOff ? 1 : 0);
    if (m_page < m_pages.directories.size()) {
        task.tiff = m_tiff;
        task.directory = m_pages.directories[m_page];
    } else {
        task.problem = Error{-EBADMSG, brokenOff ? m_pages.problem : "TIFF: no page"};
    }
    if (++m_page >= task.pages) {
        m_tiff.reset();
        m_pages = {};
        ++m_source;
    }
    return task;
}

PageTask PageFeed::begin()
{
    const Result<void> read = exceptionsToErrors([&] { return readTiff(m_sources[m_source]); });
    if (read && m_tiff)
        return pageOfTiff();
    m_tiff.reset();
    PageTask task;
    task.source = m_source++;
    task.problem = read;
    return task;
}

std::optional<PageTask> PageFeed::next()
{
    if (m_tiff)
        return pageOfTiff();
    if (m_source == m_sources.size())
        return std::nullopt;
    return begin();
}

} // namespace korv
