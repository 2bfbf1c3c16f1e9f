#include "cli/documents/standardstreams.h"

#include "cli/base/descriptor.h"
#include "cli/base/translation.h"
#include "cli/documents/workspace.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <functional>
#include <unistd.h>

namespace cli {
namespace {

constexpr mode_t kPrivate = 0600;

/// A pipe that is ready takes this much without waiting, and no more for certain.
constexpr std::size_t kPiece = PIPE_BUF;

/// Copies everything. `awaitInput` and `awaitOutput` are called before each read and write, and end the
/// copy with Interrupted. 0 or an errno; EINTR when it was interrupted.
int copyAll(int from, int to, const std::function<Wake()> &awaitInput,
            const std::function<Wake()> &awaitOutput)
{
    std::array<char, 16 * kPiece> buffer{};
    for (;;) {
        if (awaitInput() == Wake::Interrupted)
            return EINTR;
        const ssize_t size = read(from, buffer.data(), buffer.size());
        if (size < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (size <= 0)
            return size < 0 ? errno : 0;
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            if (awaitOutput() == Wake::Interrupted)
                return EINTR;
            const std::size_t piece = std::min(kPiece, static_cast<std::size_t>(size) - at);
            const ssize_t written = write(to, buffer.data() + at, piece);
            if (written < 0 && errno != EINTR && errno != EAGAIN)
                return errno;
            at += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        }
    }
}

Wake neverWait()
{
    return Wake::Notified;
}

} // namespace

std::string outputNameOf(const std::string &destination)
{
    return destination == "-" ? tr("standard output") : destination;
}

ExitCode copyToOutput(LibrarySession &session, const std::string &path)
{
    const std::string doing = tr("write to standard output");
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int output = session.outputDescriptor();
    if (!file || output < 0)
        return session.check(file ? -EBADF : -errno, doing);
    const int code = copyAll(file.get(), output, neverWait,
                             [&] { return session.wakeup().waitToWrite(output); });
    return code == EINTR ? session.interrupted() : session.check(-code, doing);
}

ExitCode StandardInput::replaceIn(std::vector<std::string> &sources, LibrarySession &session,
                                  const Workspace &workspace)
{
    const auto input = std::find(sources.begin(), sources.end(), "-");
    if (input == sources.end())
        return ExitCode::Success;
    m_path = workspace.pathOf("standard-input");
    *input = m_path;
    const std::string doing = tr("read standard input");
    const Descriptor copy(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivate));
    if (!copy)
        return session.check(-errno, doing);
    const int code = copyAll(
        STDIN_FILENO, copy.get(), [&] { return session.wakeup().waitFor(STDIN_FILENO); },
        neverWait);
    return code == EINTR ? session.interrupted(tr("; nothing was written"))
                         : session.check(-code, doing);
}

std::string StandardInput::nameOf(const std::string &source) const
{
    return !m_path.empty() && source == m_path ? tr("standard input") : source;
}

} // namespace cli
