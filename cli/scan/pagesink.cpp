#include "cli/scan/pagesink.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/librarycall.h"
#include "cli/base/translation.h"

#include <algorithm>
#include <filesystem>

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr char kPhotograph[] = "photograph.jpg";

/// The highest number in the names of that pattern; 0 when there is none.
int highestNumber(const NamePattern &pattern)
{
    int highest = 0;
    std::error_code error;
    for (fs::directory_iterator at(folderOf(pattern.path(1)), error);
         !error && at != fs::directory_iterator(); at.increment(error))
        highest = std::max(highest, pattern.numberIn(at->path().filename().string()).value_or(0));
    return highest;
}

bool isJpeg(const std::string &path)
{
    const std::string extension = extensionOf(path);
    return extension == "jpg" || extension == "jpeg";
}

} // namespace

ExitCode DocumentSink::store(LibrarySession &session, std::string &path)
{
    const Published page = m_folder.keep();
    path = page.path;
    return session.check(-page.error, tr("keep page %1", nextNumber()));
}

PictureSink::PictureSink(const NamePattern &pattern, const Options &options)
    : m_pattern(pattern)
    , m_options(options)
    , m_workspace(pattern.path(1))
{
    if (options.resume)
        m_number = highestNumber(pattern) + 1;
}

std::string PictureSink::photographPath() const
{
    const std::string path = m_pattern.path(m_number);
    return m_workspace.pathOf(isJpeg(path) ? fileNameOf(path) : kPhotograph);
}

ExitCode PictureSink::store(LibrarySession &session, std::string &path)
{
    const std::string wanted = m_pattern.path(m_number);
    const std::string hidden = m_workspace.pathOf(fileNameOf(wanted));
    const std::string doing = tr("write %1", wanted);
    if (!isJpeg(wanted)) {
        // the library's own words would name a folder that nobody knows
        const Answer answer = askLibrary(m_options.verbose, [&] {
            return session.library().ConvertImagetoImage(photographPath().c_str(), hidden.c_str());
        });
        if (answer.result < 0)
            return session.check(answer.result, doing);
    }
    if (const int code = syncFile(hidden); code != 0)
        return session.check(-code, doing);
    const Published published = m_workspace.publish(wanted, m_options.force);
    path = published.path;
    if (published.error == 0)
        ++m_number;
    return session.check(-published.error, doing);
}

} // namespace cli
