#include "library/output/document.h"

#include "library/output/atomic_file.h"
#include "library/output/file_names.h"
#include "library/output/page_maker.h"
#include "library/output/utf8.h"

#include <cerrno>
#include <ctime>

#include <sys/stat.h>

namespace korv {

namespace {

std::uint64_t sizeOfAll(const std::vector<std::string> &sources)
{
    std::uint64_t sum = 0;
    for (const std::string &source : sources) {
        struct stat status = {};
        if (::stat(source.c_str(), &status) == 0 && status.st_size > 0)
            sum += static_cast<std::uint64_t>(status.st_size);
    }
    return sum;
}

DocumentOptions optionsFor(const std::string &destination)
{
    DocumentOptions options;
    const std::string name = fileNameOf(destination);
    options.title = cleanUtf8(name.substr(0, name.rfind('.')));
    options.created = std::time(nullptr);
    return options;
}

template <typename NextPage>
Result<void> writePages(const Format &format, const DocumentOptions &options,
                        const std::string &destination, NextPage nextPage)
{
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination);
    if (!file)
        return file.error();
    const std::unique_ptr<DocumentWriter> writer = format.makeDocument(*file.value(), options);
    for (int i = 0; i < options.pageCount; ++i) {
        const Result<Page> page = nextPage(static_cast<std::size_t>(i));
        if (!page)
            return page.error();
        if (Result<void> added = writer->addPage(page.value()); !added)
            return added;
    }
    if (Result<void> finished = writer->finish(); !finished)
        return finished;
    return file.value()->commit();
}

} // namespace

Result<void> writeDocument(const std::vector<std::string> &sources, const Format &format,
                           const std::string &destination, int quality)
{
    if (sources.empty())
        return Error{-ENODATA, "no page for " + destination};
    DocumentOptions options = optionsFor(destination);
    options.pageCount = static_cast<int>(sources.size());
    options.expectedBytes = sizeOfAll(sources);
    PageMaker maker({quality, format.plainJpegOnly});
    return writePages(format, options, destination,
                      [&](std::size_t i) { return maker.fromFile(sources[i]); });
}

Result<void> writeDocument(const Image &image, const Format &format, const std::string &destination,
                           int quality)
{
    DocumentOptions options = optionsFor(destination);
    options.pageCount = 1;
    PageMaker maker({quality, format.plainJpegOnly});
    return writePages(format, options, destination,
                      [&](std::size_t) { return maker.fromImage(image); });
}

} // namespace korv
