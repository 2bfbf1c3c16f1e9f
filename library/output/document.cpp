#include "library/output/document.h"

#include "library/output/atomic_file.h"
#include "library/output/file_names.h"
#include "library/output/page_prefetcher.h"
#include "library/output/utf8.h"

#include <cerrno>
#include <ctime>

namespace korv {

namespace {

DocumentOptions optionsFor(const std::string &path)
{
    DocumentOptions options;
    const std::string name = fileNameOf(path);
    options.title = cleanUtf8(name.substr(0, name.rfind('.')));
    options.created = std::time(nullptr);
    return options;
}

PageOptions pageOptions(const Format &format, int quality)
{
    PageOptions options;
    options.quality = quality;
    options.plainJpegOnly = format.plainJpegOnly;
    options.codeLineart = format.codeLineart;
    return options;
}

} // namespace

Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality,
                           std::vector<std::string> &left)
{
    left = sources;
    if (sources.empty())
        return Error{-ENODATA, "no page for " + destination};
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination, Existing::KeepBoth);
    if (!file)
        return file.error();
    DocumentOptions options = optionsFor(file.value()->path());
    options.pageCount = static_cast<int>(sources.size());
    const std::unique_ptr<DocumentWriter> writer = format.makeDocument(*file.value(), options);
    PagePrefetcher pages(sources, pageOptions(format, quality));
    std::vector<std::string> unreadable;
    Result<void> firstProblem;
    for (const std::string &source : sources) {
        const Result<Page> &page = pages.next();
        if (!page) {
            unreadable.push_back(source);
            if (firstProblem)
                firstProblem = page.error();
            continue;
        }
        if (Result<void> added = writer->addPage(page.value()); !added)
            return added;
    }
    if (unreadable.size() == sources.size())
        return firstProblem;
    if (Result<void> finished = writer->finish(); !finished)
        return finished;
    Result<void> committed = file.value()->commit();
    if (file.value()->isNamed())
        left = std::move(unreadable);
    return committed ? firstProblem : committed;
}

Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality)
{
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination, Existing::KeepBoth);
    if (!file)
        return file.error();
    DocumentOptions options = optionsFor(file.value()->path());
    options.pageCount = 1;
    const std::unique_ptr<DocumentWriter> writer = format.makeDocument(*file.value(), options);
    PageMaker maker(pageOptions(format, quality));
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
