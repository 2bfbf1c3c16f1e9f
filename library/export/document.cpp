#include "library/export/document.h"

#include "library/base/log.h"
#include "library/export/page_prefetcher.h"
#include "library/export/progress_file.h"
#include "library/files/atomic_file.h"
#include "library/files/file_names.h"
#include "library/values/utf8.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace korv {

namespace {

DocumentOptions optionsFor(const std::string &path, const DocumentSettings &settings)
{
    DocumentOptions options;
    const std::string name = fileNameOf(path);
    options.title =
        !settings.title.empty() ? settings.title : cleanUtf8(name.substr(0, name.rfind('.')));
    options.created = std::time(nullptr);
    if (settings.text)
        options.language = documentLanguage(settings.text->options().languages);
    return options;
}

/// What reads the pages of a document.
DocumentText textFor(const Format &format, const DocumentSettings &settings)
{
    if (format.hasText && settings.text)
        return DocumentText(settings.text.get());
    return DocumentText(settings.upright.get(), DocumentText::Use::Direction);
}

/// `text` is borrowed.
PageOptions pageOptions(const Format &format, int quality, const DocumentSettings &settings,
                        DocumentText &text)
{
    PageOptions options;
    options.quality = quality;
    options.plainJpegOnly = format.plainJpegOnly;
    options.codePixels = format.codePixels;
    options.sheet = settings.sheet;
    options.clean = settings.clean;
    options.text = &text;
    options.compact = settings.compact && format.hasLayers;
    return options;
}

/// Pages that are missing, and from which sources.
class MissingPages
{
public:
    explicit MissingPages(const std::vector<std::string> &sources)
        : m_sources(sources)
    {
    }

    void add(std::size_t number, const SourcePage &page, const Error &problem)
    {
        const std::string &source = m_sources[page.source];
        if (m_first)
            m_first = problem;
        if (m_left.empty() || m_left.back() != source)
            m_left.push_back(source);
        // of a document of one page, the result says it all
        const bool onlyPage = m_sources.size() == 1 && page.pages <= 1;
        if (++m_count > kMaxReported || onlyPage)
            return;
        std::string text = "page " + std::to_string(number) + " is missing: " + source;
        if (page.pages > 1)
            text += ", its page " + std::to_string(page.page + 1);
        logLine(LogLevel::Warning, text, problem.text);
    }

    /// Call it when all pages are through.
    void tellTheRest() const
    {
        if (m_count > kMaxReported)
            logLine(LogLevel::Warning,
                    std::to_string(m_count - kMaxReported) + " more pages are missing");
    }

    const Result<void> &firstProblem() const { return m_first; }
    std::vector<std::string> takeSources() { return std::move(m_left); }

private:
    /// A small file can list a million pages that are none.
    static constexpr std::size_t kMaxReported = 100;

    const std::vector<std::string> &m_sources;
    std::size_t m_count = 0;
    std::vector<std::string> m_left;
    Result<void> m_first;
};

} // namespace

Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality,
                           const DocumentSettings &settings, std::vector<std::string> &left)
{
    left = sources;
    if (sources.empty())
        return Error{-ENODATA, "no page for " + destination};
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination, Existing::KeepBoth);
    if (!file)
        return file.error();
    DocumentOptions options = optionsFor(file.value()->path(), settings);
    options.pageCount = static_cast<int>(sources.size());
    const std::unique_ptr<DocumentWriter> writer = format.makeDocument(*file.value(), options);
    DocumentText text = textFor(format, settings);
    PagePrefetcher pages(sources, pageOptions(format, quality, settings, text));
    MissingPages missing(sources);
    ProgressFile progress(settings.progressFile, sources.size());
    std::size_t number = 0;
    bool hasPages = false;
    while (const SourcePage *page = pages.next()) {
        ++number;
        Result<void> added;
        if (page->content)
            added = writer->addPage(page->content.value());
        if (!added && added.code() != kUnfitPage)
            return added;
        if (page->content && added)
            hasPages = true;
        else
            missing.add(number, *page, page->content ? added.error() : page->content.error());
        progress.pageDone(page->page, page->pages);
    }
    missing.tellTheRest();
    if (!hasPages)
        return missing.firstProblem();
    if (Result<void> finished = writer->finish(); !finished)
        return finished;
    Result<void> committed = file.value()->commit();
    if (file.value()->isNamed())
        left = missing.takeSources();
    return committed ? missing.firstProblem() : committed;
}

Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality, const DocumentSettings &settings)
{
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination, Existing::KeepBoth);
    if (!file)
        return file.error();
    DocumentOptions options = optionsFor(file.value()->path(), settings);
    options.pageCount = 1;
    const std::unique_ptr<DocumentWriter> writer = format.makeDocument(*file.value(), options);
    DocumentText text = textFor(format, settings);
    PageMaker maker(pageOptions(format, quality, settings, text));
    const Result<Page> page = maker.fromImage(image);
    if (!page)
        return page.error();
    if (Result<void> added = writer->addPage(page.value()); !added)
        return added;
    if (Result<void> finished = writer->finish(); !finished)
        return finished;
    return file.value()->commit();
}

} // namespace korv
