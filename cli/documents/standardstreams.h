#pragma once

#include "cli/session/session.h"

#include <string>
#include <vector>

namespace cli {

class Workspace;

/// How "-" is called in messages: "standard output"; other names stand for themselves.
std::string outputNameOf(const std::string &destination);

/// Copies a file to standard output. A reader may take its time: a stop signal ends the copy. Says what
/// went wrong.
ExitCode copyToOutput(LibrarySession &session, const std::string &path);

/// Standard input as a file, which is what the camera library reads, for a source "-".
class StandardInput
{
public:
    /// When "-" is one of the sources, copies standard input to a file in `workspace` and puts that in its
    /// place. Says what went wrong.
    ExitCode replaceIn(std::vector<std::string> &sources, LibrarySession &session,
                       const Workspace &workspace);

    /// How a source is called in messages.
    std::string nameOf(const std::string &source) const;

private:
    std::string m_path; ///< of the copy; empty: there is none
};

} // namespace cli
