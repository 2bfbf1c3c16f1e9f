#include "cli/documents/files.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/jsonline.h"
#include "cli/base/libraryline.h"
#include "cli/documents/childprocess.h"
#include "cli/documents/pagelist.h"
#include "cli/documents/workspace.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace cli {
namespace {

/// Prints the library's own lines among ours under our name. Those about the hidden folder, which
/// nobody outside knows, are left out.
void relay(const std::string &line, const Workspace &workspace)
{
    const std::string prefix = "korvcam: ";
    if (line.compare(0, prefix.size(), prefix) == 0)
        return printError(line.substr(prefix.size()));
    if (line.find(workspace.folder()) != std::string::npos)
        return;
    printError(textOfLibraryLine(line).value_or(line));
}

ExitCode publish(LibrarySession &session, const Options &options, const Workspace &workspace)
{
    if (!workspace.holds(fileNameOf(options.destination))) {
        printError("the camera library wrote no " + options.destination + ", and did not say why");
        return ExitCode::Failure;
    }
    const Published published = workspace.publish(options.destination, options.force);
    if (published.error != 0)
        return session.check(-published.error, "write " + options.destination);
    session.print(options.json ? JsonLine().add("file", published.path).text() : published.path);
    return ExitCode::Success;
}

ExitCode concludeChild(const LibrarySession &session, const ChildResult &result)
{
    switch (result.end) {
    case ChildEnd::Done:
        return static_cast<ExitCode>(result.code);
    case ChildEnd::Interrupted:
        return session.interrupted("; nothing was written");
    case ChildEnd::Crashed:
        printError("the camera library crashed (signal " + std::to_string(result.code) + ")");
        return ExitCode::Failure;
    case ChildEnd::NotStarted:
        break;
    }
    return session.check(-result.code, "start the work");
}

/// Lets `work` write a file of that name in a private folder, and publishes the result.
template <typename Work>
ExitCode writeFile(LibrarySession &session, const Options &options, Work work)
{
    const Workspace workspace(options.destination);
    if (workspace.error() != 0) {
        printError("cannot write " + options.destination + ": "
                   + placeProblem(options.destination, workspace.error()));
        return ExitCode::Failure;
    }
    const std::string name = fileNameOf(options.destination);
    std::function<void(const std::string &)> onLine;
    if (!options.verbose)
        onLine = [&](const std::string &line) { relay(line, workspace); };
    const ChildResult result = runInChild(
        session.wakeup(), [&] { return static_cast<int>(work(workspace)); }, onLine);
    ExitCode code = concludeChild(session, result);
    const bool isPartial = code == ExitCode::Failure && result.end == ChildEnd::Done
        && !options.strict && workspace.holds(name);
    if (code == ExitCode::Success || isPartial) {
        const ExitCode published = publish(session, options, workspace);
        code = published == ExitCode::Success ? code : published;
    }
    return code;
}

ExitCode openLibrary(LibrarySession &session, const Options &options)
{
    if (options.title)
        setenv("KORV_CAMERA_TITLE", options.title->c_str(), 1);
    if (!options.pageSize.empty())
        setenv("KORV_CAMERA_PAGE_SIZE", options.pageSize.c_str(), 1);
    if (options.clean)
        setenv("KORV_CAMERA_CLEAN_FILES", "yes", 1);
    if (options.compact)
        setenv("KORV_CAMERA_COMPACT", "yes", 1);
    const ExitCode code = session.open();
    if (code != ExitCode::Success || !options.quality)
        return code;
    return session.check(session.library().SetImageJPGQuality(*options.quality), "set the quality");
}

/// What the library said about a call that the sources are not to blame for.
std::string refusal(const std::string &doing, const Answer &answer, const Workspace &workspace)
{
    const bool isAboutUs = answer.reason.find(workspace.folder()) != std::string::npos;
    return "cannot " + doing + ": " + std::strerror(-answer.result)
        + (answer.reason.empty() || isAboutUs ? "" : " (" + answer.reason + ")");
}

ExitCode convertPicture(LibrarySession &session, const Options &options, const Workspace &workspace)
{
    const std::string &source = options.sources.front();
    if (const ExitCode code = openLibrary(session, options); code != ExitCode::Success)
        return code;
    const std::string path = workspace.pathOf(fileNameOf(options.destination));
    const Answer answer = askLibrary(options.verbose, [&] {
        return session.library().ConvertImagetoImage(source.c_str(), path.c_str());
    });
    if (answer.result >= 0)
        return ExitCode::Success;
    const std::string problem = pictureProblem(source, answer);
    printError(problem.empty()
                   ? refusal("convert " + source + " to " + options.destination, answer, workspace)
                   : problem);
    return ExitCode::Failure;
}

/// Makes the document, in the child process.
class Combiner
{
public:
    Combiner(LibrarySession &session, const Options &options,
             const std::vector<std::string> &sources, const Workspace &workspace)
        : m_session(session)
        , m_options(options)
        , m_sources(sources)
        , m_workspace(workspace)
        , m_name(fileNameOf(options.destination))
    {
    }

    ExitCode run()
    {
        if (const ExitCode code = openLibrary(m_session, m_options); code != ExitCode::Success)
            return code;
        if (!addPages())
            return ExitCode::Failure;
        const std::string path = m_workspace.pathOf(m_name);
        const Answer answer =
            ask([&] { return m_session.library().CombineMultiFile(path.c_str()); });
        if (answer.result < 0)
            explain(answer);
        if (!m_leftOut)
            return answer.result < 0 ? ExitCode::Failure : ExitCode::Success;
        if (m_options.strict)
            printError("nothing was written, because of --strict");
        else if (m_workspace.holds(m_name))
            printError("the other pages were written");
        return ExitCode::Failure;
    }

private:
    template <typename Call> Answer ask(Call call) const
    {
        return askLibrary(m_options.verbose, call);
    }

    void leaveOut(const std::string &source, const Answer &answer)
    {
        m_leftOut = true;
        const std::string problem = pictureProblem(source, answer);
        printError(problem.empty() ? refusal("add " + source, answer, m_workspace) : problem);
    }

    /// Whether there is something to write.
    bool addPages()
    {
        std::vector<std::string> added;
        for (const std::string &source : m_sources) {
            const Answer answer =
                ask([&] { return m_session.library().AddImageFiletoMultiFile(source.c_str()); });
            if (answer.result < 0)
                leaveOut(source, answer);
            else
                added.push_back(source);
        }
        const bool refuses = m_leftOut && m_options.strict;
        m_sources = std::move(added);
        if (refuses || m_sources.empty())
            printError(refuses ? "nothing was written, because of --strict"
                               : "no page is left; nothing was written");
        return !refuses && !m_sources.empty();
    }

    /// The library answers with the error of one page and does not say of which. A page that cannot
    /// become a document of the same format alone is one of them.
    void explain(const Answer &combined)
    {
        if (m_workspace.holds(m_name) || combined.result == -EBADMSG) {
            const std::string extension = "." + extensionOf(m_name);
            // beside the document, which may be there
            const std::string name = (m_name == "page" + extension ? "alone" : "page") + extension;
            const std::string path = m_workspace.pathOf(name);
            for (const std::string &source : m_sources) {
                const Answer alone = ask([&] {
                    return m_session.library().ConvertImagetoImage(source.c_str(), path.c_str());
                });
                std::error_code ignored;
                std::filesystem::remove(path, ignored);
                if (alone.result < 0)
                    leaveOut(source, alone);
            }
        }
        if (!m_leftOut)
            printError(refusal("write " + m_options.destination, combined, m_workspace));
    }

    LibrarySession &m_session;
    const Options &m_options;
    std::vector<std::string> m_sources;
    const Workspace &m_workspace;
    std::string m_name;
    bool m_leftOut = false;
};

} // namespace

ExitCode convert(LibrarySession &session, const Options &options)
{
    return writeFile(session, options, [&](const Workspace &workspace) {
        return convertPicture(session, options, workspace);
    });
}

ExitCode combine(LibrarySession &session, const Options &options)
{
    std::vector<std::string> sources = options.sources;
    if (!options.fromFile.empty()) {
        const ExitCode code = addListedPages(session, options.fromFile, sources);
        if (code != ExitCode::Success)
            return code;
    }
    if (sources.empty()) {
        printError(options.fromFile + " names no picture");
        return ExitCode::Usage;
    }
    return combinePages(session, options, sources);
}

ExitCode combinePages(LibrarySession &session, const Options &options,
                      const std::vector<std::string> &pages)
{
    return writeFile(session, options, [&](const Workspace &workspace) {
        return Combiner(session, options, pages, workspace).run();
    });
}

} // namespace cli
