#include "library/export/progress_file.h"

#include "library/base/log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace korv {

ProgressFile::ProgressFile(const std::string &path, std::size_t sources)
    : m_all(sources)
{
    if (path.empty())
        return;
    // a FIFO without a reader would keep us waiting
    m_file.reset(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK));
    if (!m_file)
        logLine(LogLevel::Warning, path, "progress is not written there", std::strerror(errno));
}

void ProgressFile::pageDone(std::size_t page, std::size_t pages)
{
    ++m_done;
    if (page == 0 && pages > 1)
        m_all += pages - 1;
    if (!m_file)
        return;
    const std::string text = std::to_string(m_done) + " " + std::to_string(m_all) + "\n";
    // both numbers only grow, so a shorter text never has to be overwritten
    if (::pwrite(m_file.get(), text.data(), text.size(), 0) < 0)
        m_file.reset();
}

} // namespace korv
