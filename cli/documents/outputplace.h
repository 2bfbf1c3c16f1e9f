#pragma once

#include "cli/documents/workspace.h"
#include "cli/session/session.h"

#include <string>

namespace cli {

/// Where the new files of a command go: under their names, or for the name "-" to standard output. The
/// camera library writes them into a hidden folder first; from there they appear whole or not at all.
class OutputPlace
{
public:
    /// Of the destination in the options, which are borrowed.
    explicit OutputPlace(const Options &options);
    /// The same for files whose names are like `target`, a path.
    OutputPlace(const Options &options, const std::string &target);

    /// Whether files can be made there. Otherwise `problem`, a text for tr(), is printed with the name
    /// and the reason.
    bool isUsable(const char *problem) const;

    const Workspace &workspace() const { return m_workspace; }

    /// What the file that is to become `wanted` is called in the workspace. Its extension chooses the
    /// format.
    std::string workName(const std::string &wanted) const;
    std::string workPath(const std::string &wanted) const
    {
        return m_workspace.pathOf(workName(wanted));
    }

    /// Where the camera library is to save a photograph that is to become `wanted`, as a JPEG;
    /// finishPhotograph() then makes the format of it that is wanted. Says what went wrong.
    std::string photographPath(const std::string &wanted) const;
    ExitCode finishPhotograph(LibrarySession &session, const std::string &wanted,
                              const std::string &doing) const;

    /// Brings the finished file to its place; `path` becomes the name that it really got. Says what
    /// went wrong.
    ExitCode publish(LibrarySession &session, const std::string &wanted, const std::string &doing,
                     std::string &path) const;

private:
    const Options &m_options;
    const std::string m_target; ///< a path of the kind that the files get
    const Workspace m_workspace;
};

} // namespace cli
