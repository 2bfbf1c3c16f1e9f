#pragma once

#include "cli/session/session.h"

namespace cli {

/// Appends the paths in the file `list`, one a line, to `sources`; "-" is standard input. Empty lines
/// count for nothing. Says what went wrong.
ExitCode addListedPages(LibrarySession &session, const std::string &list,
                        std::vector<std::string> &sources);

} // namespace cli
