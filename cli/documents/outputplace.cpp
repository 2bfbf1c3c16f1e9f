#include "cli/documents/outputplace.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/translation.h"
#include "cli/calls/librarycall.h"
#include "cli/documents/standardstreams.h"

#include <filesystem>

namespace cli {
namespace {

constexpr char kPhotograph[] = "photograph.jpg";

/// A document's usual title is the name of its file.
constexpr char kNameless[] = "document.";

std::string targetOf(const Options &options)
{
    if (!options.writesToOutput())
        return options.destination;
    std::error_code unknown;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(unknown);
    return ((unknown ? "/tmp" : folder) / (kNameless + options.format)).string();
}

bool isJpeg(const std::string &name)
{
    const std::string extension = extensionOf(name);
    return extension == "jpg" || extension == "jpeg";
}

} // namespace

OutputPlace::OutputPlace(const Options &options)
    : OutputPlace(options, targetOf(options))
{
}

OutputPlace::OutputPlace(const Options &options, const std::string &target)
    : m_options(options)
    , m_target(target)
    , m_workspace(target)
{
}

bool OutputPlace::isUsable(const char *problem) const
{
    if (m_workspace.error() != 0)
        printError(tr(problem, outputNameOf(m_options.destination),
                      placeProblem(m_target, m_workspace.error())));
    return m_workspace.error() == 0;
}

std::string OutputPlace::workName(const std::string &wanted) const
{
    return fileNameOf(m_options.writesToOutput() ? m_target : wanted);
}

std::string OutputPlace::photographPath(const std::string &wanted) const
{
    return isJpeg(workName(wanted)) ? workPath(wanted) : m_workspace.pathOf(kPhotograph);
}

ExitCode OutputPlace::finishPhotograph(LibrarySession &session, const std::string &wanted,
                                       const std::string &doing) const
{
    if (isJpeg(workName(wanted)))
        return ExitCode::Success;
    // the library's own words would name a folder that nobody knows
    const Answer answer = askLibrary(m_options.verbose, [&] {
        return session.library().ConvertImagetoImage(photographPath(wanted).c_str(),
                                                     workPath(wanted).c_str());
    });
    return session.check(answer.result, doing);
}

ExitCode OutputPlace::publish(LibrarySession &session, const std::string &wanted,
                              const std::string &doing, std::string &path) const
{
    path = wanted;
    if (m_options.writesToOutput())
        return copyToOutput(session, workPath(wanted));
    const Published published = m_workspace.publish(wanted, m_options.force);
    path = published.path;
    return session.check(-published.error, doing);
}

} // namespace cli
