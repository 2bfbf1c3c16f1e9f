#include "cli/documents/files.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/jsonline.h"
#include "cli/base/translation.h"
#include "cli/calls/libraryline.h"
#include "cli/calls/pictureproblem.h"
#include "cli/documents/childprocess.h"
#include "cli/documents/outputplace.h"
#include "cli/documents/pagelist.h"
#include "cli/documents/standardstreams.h"
#include "cli/documents/textsettings.h"
#include "cli/documents/writingprogress.h"

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

ExitCode publish(LibrarySession &session, const Options &options, const OutputPlace &place)
{
    const std::string &wanted = options.destination;
    if (!place.workspace().holds(place.workName(wanted))) {
        printError(tr("the camera library wrote no %1, and did not say why", outputNameOf(wanted)));
        return ExitCode::Failure;
    }
    std::string path;
    const ExitCode code = place.publish(session, wanted, tr("write %1", wanted), path);
    if (code == ExitCode::Success && !options.writesToOutput())
        session.print(options.json ? JsonLine().add("file", path).text() : path);
    return code;
}

ExitCode concludeChild(const LibrarySession &session, const ChildResult &result)
{
    switch (result.end) {
    case ChildEnd::Done:
        return static_cast<ExitCode>(result.code);
    case ChildEnd::Interrupted:
        return session.interrupted(tr("; nothing was written"));
    case ChildEnd::Crashed:
        printError(tr("the camera library crashed (signal %1)", result.code));
        return ExitCode::Failure;
    case ChildEnd::NotStarted:
        break;
    }
    return session.check(-result.code, tr("start the work"));
}

/// What the work on a file has to do with.
struct Task
{
    LibrarySession &session;
    const Options &options;
    std::vector<std::string> sources; ///< files all of them
    StandardInput input; ///< which one of them may be a copy of
    const OutputPlace place = OutputPlace(options);
    WritingProgress *progress = nullptr; ///< while the work is done
};

/// Runs `work` in a child process, shows how far it is, and prints what it says.
ChildResult runWithProgress(Task &task, const std::function<ExitCode(const Task &)> &work)
{
    const Options &options = task.options;
    WritingProgress progress(options, task.sources, outputNameOf(options.destination));
    task.progress = &progress;
    std::function<void(const std::string &)> onLine;
    if (!options.verbose)
        onLine = [&](const std::string &line) {
            progress.clear();
            relay(line, task.place.workspace());
        };
    std::function<void(pid_t)> onTick;
    if (progress.isOn())
        onTick = [&](pid_t child) { progress.look(child); };
    const ChildResult result = runInChild(
        task.session.wakeup(), [&] { return static_cast<int>(work(task)); }, onLine, onTick);
    task.progress = nullptr;
    return result;
}

/// Lets `work` write a file in a private folder, and publishes the result.
ExitCode writeFile(Task &task, const std::function<ExitCode(const Task &)> &work)
{
    const Options &options = task.options;
    const Workspace &workspace = task.place.workspace();
    if (!task.place.isUsable(trLater("cannot write %1: %2")))
        return ExitCode::Failure;
    ExitCode code = task.input.replaceIn(task.sources, task.session, workspace);
    if (code != ExitCode::Success)
        return code;
    const ChildResult result = runWithProgress(task, work);
    code = concludeChild(task.session, result);
    const bool isPartial = code == ExitCode::Failure && result.end == ChildEnd::Done
        && !options.strict && workspace.holds(task.place.workName(options.destination));
    if (code == ExitCode::Success || isPartial) {
        const ExitCode published = publish(task.session, options, task.place);
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
    passTextSettings(options);
    const ExitCode code = session.open();
    if (code != ExitCode::Success || !options.quality)
        return code;
    return session.check(session.library().SetImageJPGQuality(*options.quality),
                         tr("set the quality"));
}

/// What the library said about a call that the sources are not to blame for.
std::string refusal(const std::string &doing, const Answer &answer, const Workspace &workspace)
{
    const bool isAboutUs = answer.reason.find(workspace.folder()) != std::string::npos;
    const std::string why = std::strerror(-answer.result);
    return answer.reason.empty() || isAboutUs ? tr("cannot %1: %2", doing, why)
                                              : tr("cannot %1: %2 (%3)", doing, why, answer.reason);
}

ExitCode convertPicture(const Task &task)
{
    const Options &options = task.options;
    const std::string &source = task.sources.front();
    if (const ExitCode code = openLibrary(task.session, options); code != ExitCode::Success)
        return code;
    const std::string path = task.place.workPath(options.destination);
    task.progress->beginReading();
    const Answer answer = askLibrary(options.verbose, [&] {
        return task.session.library().ConvertImagetoImage(source.c_str(), path.c_str());
    });
    if (answer.result >= 0)
        return ExitCode::Success;
    const std::string name = task.input.nameOf(source);
    const std::string problem = pictureProblem(source, name, answer);
    printError(problem.empty()
                   ? refusal(tr("convert %1 to %2", name, outputNameOf(options.destination)),
                             answer, task.place.workspace())
                   : problem);
    return ExitCode::Failure;
}

ExitCode addTextToDocument(const Task &task)
{
    const Options &options = task.options;
    const std::string &source = task.sources.front();
    if (const ExitCode code = openLibrary(task.session, options); code != ExitCode::Success)
        return code;
    const std::string path = task.place.workPath(options.destination);
    const Answer answer = askLibrary(options.verbose, [&] {
        return task.session.library().ConvertImagetoImage(source.c_str(), path.c_str());
    });
    // what only its owner could read stays so
    std::error_code ignored;
    const std::filesystem::perms rights = std::filesystem::status(source, ignored).permissions();
    std::filesystem::permissions(path, rights, ignored);
    if (answer.result >= 0)
        return ExitCode::Success;
    printError(
        tr("cannot add text to %1: %2", source,
           answer.reason.empty() ? std::strerror(-answer.result) : trSentence(answer.reason)));
    if (options.strict)
        printError(tr("nothing was written, because of --strict"));
    return ExitCode::Failure;
}

/// Makes the document, in the child process.
class Combiner
{
public:
    explicit Combiner(const Task &task)
        : m_session(task.session)
        , m_options(task.options)
        , m_input(task.input)
        , m_sources(task.sources)
        , m_workspace(task.place.workspace())
        , m_name(task.place.workName(task.options.destination))
        , m_progress(*task.progress)
    {
    }

    ExitCode run()
    {
        if (const ExitCode code = openLibrary(m_session, m_options); code != ExitCode::Success)
            return code;
        if (!addPages())
            return ExitCode::Failure;
        const std::string path = m_workspace.pathOf(m_name);
        m_progress.beginReading();
        const Answer answer =
            ask([&] { return m_session.library().CombineMultiFile(path.c_str()); });
        if (answer.result < 0)
            explain(answer);
        if (!m_leftOut)
            return answer.result < 0 ? ExitCode::Failure : ExitCode::Success;
        if (m_options.strict)
            printError(tr("nothing was written, because of --strict"));
        else if (m_workspace.holds(m_name))
            printError(tr("the other pages were written"));
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
        const std::string name = m_input.nameOf(source);
        const std::string problem = pictureProblem(source, name, answer);
        printError(problem.empty() ? refusal(tr("add %1", name), answer, m_workspace) : problem);
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
            printError(refuses ? tr("nothing was written, because of --strict")
                               : tr("no page is left; nothing was written"));
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
            printError(refusal(tr("write %1", outputNameOf(m_options.destination)), combined,
                               m_workspace));
    }

    LibrarySession &m_session;
    const Options &m_options;
    const StandardInput &m_input;
    std::vector<std::string> m_sources;
    const Workspace &m_workspace;
    std::string m_name;
    WritingProgress &m_progress;
    bool m_leftOut = false;
};

} // namespace

ExitCode convert(LibrarySession &session, const Options &options)
{
    Task task{session, options, options.sources, {}};
    return writeFile(task, convertPicture);
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
        printError(tr("%1 names no picture", options.fromFile));
        return ExitCode::Usage;
    }
    return combinePages(session, options, sources);
}

ExitCode addText(LibrarySession &session, const Options &options)
{
    if (!hasTextLanguages(options)) {
        printError(tr("no languages are named: add --text LANGS, or text = LANGS to the settings"));
        return ExitCode::Usage;
    }
    Options wanted = options;
    const std::string &source = options.sources.front();
    if (wanted.destination.empty()) {
        // behind a symbolic link, which stays one
        std::error_code error;
        const std::filesystem::path file = std::filesystem::canonical(source, error);
        if (error) {
            printError(source + ": " + error.message());
            return ExitCode::Failure;
        }
        wanted.destination = file.string();
        wanted.force = true;
    }
    Task task{session, wanted, options.sources, {}};
    return writeFile(task, addTextToDocument);
}

ExitCode combinePages(LibrarySession &session, const Options &options,
                      const std::vector<std::string> &pages)
{
    Task task{session, options, pages, {}};
    return writeFile(task, [](const Task &each) { return Combiner(each).run(); });
}

} // namespace cli
