#include "cli/calls/librarycall.h"

#include "cli/base/descriptor.h"
#include "cli/calls/libraryline.h"

#include <cstdio>
#include <fcntl.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/stat.h>

namespace cli {
namespace {

/// How reports of the library's entry points begin.
constexpr char kReport[] = "KorvCamera_";
constexpr char kOutOfFocus[] = "the photograph is out of focus";

/// Standard error as a file while the object lives.
class ErrorCapture
{
public:
    ErrorCapture()
        : m_file(memfd_create("errors", MFD_CLOEXEC))
        , m_previous(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        if (m_file && m_previous)
            dup2(m_file.get(), STDERR_FILENO);
    }
    ErrorCapture(const ErrorCapture &) = delete;
    ErrorCapture &operator=(const ErrorCapture &) = delete;
    ~ErrorCapture()
    {
        if (m_file && m_previous)
            dup2(m_previous.get(), STDERR_FILENO);
    }

    std::string text() const
    {
        struct stat state = {};
        if (!m_file || fstat(m_file.get(), &state) != 0)
            return {};
        std::string text(static_cast<std::size_t>(state.st_size), '\0');
        const ssize_t got = pread(m_file.get(), text.data(), text.size(), 0);
        text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return text;
    }

private:
    Descriptor m_file;
    Descriptor m_previous;
};

/// "the reason" of "KorvCamera_Open: the reason (-5)".
std::string reasonIn(const std::string &report)
{
    const std::size_t colon = report.find(": ", sizeof kReport - 1);
    const std::size_t start = colon == std::string::npos ? sizeof kReport - 1 : colon + 2;
    const std::size_t code = report.rfind(" (-");
    return report.substr(start, code == std::string::npos || code < start ? code : code - start);
}

} // namespace

Answer askLibrary(bool verbose, const std::function<int()> &call)
{
    if (verbose)
        return {call(), false, {}};
    Answer answer;
    std::string said;
    {
        const ErrorCapture capture;
        answer.result = call();
        said = capture.text();
    }
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);) {
        const std::optional<std::string> text = textOfLibraryLine(line);
        if (text && text->compare(0, sizeof kReport - 1, kReport) == 0)
            answer.reason = reasonIn(*text);
        else if (text && text->find(kOutOfFocus) != std::string::npos)
            answer.isOutOfFocus = true;
        else
            std::fputs((line + "\n").c_str(), stderr);
    }
    return answer;
}

} // namespace cli
