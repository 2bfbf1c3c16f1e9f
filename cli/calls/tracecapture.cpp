#include "cli/calls/tracecapture.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli {

TraceCapture::TraceCapture(Trace mode)
{
    std::fflush(stdout);
    m_output.reset(fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "w"));
    if (mode == Trace::Kept)
        m_keptFd = memfd_create("trace", MFD_CLOEXEC);
    dup2(m_keptFd >= 0 ? m_keptFd : STDERR_FILENO, STDOUT_FILENO);
}

TraceCapture::~TraceCapture()
{
    std::fflush(stdout);
    if (m_output) {
        std::fflush(m_output.get());
        dup2(fileno(m_output.get()), STDOUT_FILENO);
    }
    if (m_keptFd >= 0)
        close(m_keptFd);
}

std::string TraceCapture::kept() const
{
    std::fflush(stdout);
    struct stat state = {};
    if (m_keptFd < 0 || fstat(m_keptFd, &state) != 0 || state.st_size <= 0)
        return {};
    std::string text(static_cast<std::size_t>(state.st_size), '\0');
    const ssize_t got = pread(m_keptFd, text.data(), text.size(), 0);
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

} // namespace cli
