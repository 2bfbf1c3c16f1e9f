#include "cli/scan/pagesink.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"

#include <algorithm>
#include <filesystem>

namespace cli {
namespace {

namespace fs = std::filesystem;

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

} // namespace

ExitCode DocumentSink::store(LibrarySession &session, std::string &path)
{
    const Published page = m_folder.keep();
    path = page.path;
    return session.check(-page.error, tr("keep page %1", nextNumber()));
}

PictureSink::PictureSink(const NamePattern &pattern, const Options &options)
    : m_pattern(pattern)
    , m_place(options, pattern.path(1))
{
    if (options.resume)
        m_number = highestNumber(pattern) + 1;
}

std::string PictureSink::photographPath() const
{
    return m_place.photographPath(m_pattern.path(m_number));
}

ExitCode PictureSink::store(LibrarySession &session, std::string &path)
{
    const std::string wanted = m_pattern.path(m_number);
    const std::string doing = tr("write %1", wanted);
    ExitCode code = m_place.finishPhotograph(session, wanted, doing);
    if (code == ExitCode::Success)
        code = session.check(-syncFile(m_place.workPath(wanted)), doing);
    if (code == ExitCode::Success)
        code = m_place.publish(session, wanted, doing, path);
    if (code == ExitCode::Success)
        ++m_number;
    return code;
}

} // namespace cli
