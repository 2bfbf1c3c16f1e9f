#include "cli/documents/pagelist.h"

#include "cli/base/errors.h"

#include "cli/base/descriptor.h"
#include "cli/base/translation.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sstream>

namespace cli {
namespace {

/// Far more than a document has pages; a device that never ends must not fill the memory.
constexpr std::size_t kMaxBytes = 256 * 1024 * 1024;

/// Reads everything and stays interruptible, because a list may come through a pipe. 0, or minus an
/// errno.
int readAll(Wakeup &wakeup, int descriptor, std::string &text)
{
    std::array<char, 65536> buffer{};
    for (;;) {
        if (wakeup.waitFor(descriptor) == Wake::Interrupted)
            return -EINTR;
        const ssize_t size = read(descriptor, buffer.data(), buffer.size());
        if (size < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (size <= 0)
            return size < 0 ? -errno : 0;
        text.append(buffer.data(), static_cast<std::size_t>(size));
        if (text.size() > kMaxBytes)
            return -EFBIG;
    }
}

} // namespace

ExitCode addListedPages(LibrarySession &session, const std::string &list,
                        std::vector<std::string> &sources)
{
    const bool isInput = list == "-";
    const std::string doing =
        isInput ? tr("read the list on standard input") : tr("read the list %1", list);
    // without waiting for the other end of a named pipe, which would not be interruptible
    const Descriptor file(isInput
                              ? dup(STDIN_FILENO)
                              : open(list.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        return session.check(-errno, doing);
    std::string text;
    const int result = readAll(session.wakeup(), file.get(), text);
    if (result == -EINTR)
        return session.interrupted(tr("; nothing was written"));
    if (result < 0)
        return session.check(result, doing);
    if (text.find('\0') != std::string::npos) {
        printError(tr("cannot %1: it is not a text with one path a line", doing));
        return ExitCode::Failure;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // the list has paths only: a file of that name, not standard input
        if (line == "-")
            line = "./-";
        if (!line.empty())
            sources.push_back(line);
    }
    return ExitCode::Success;
}

} // namespace cli
