#pragma once

#include "cli/session/session.h"

namespace cli {

/// Converts one picture and prints the path of the new file. The session is not opened: the camera
/// library is loaded by a process that a stop signal can end.
ExitCode convert(LibrarySession &session, const Options &options);

/// Makes one document of several pictures and prints its path, in the same way. A page that cannot
/// be read is named; the others are written all the same, unless the options are strict.
ExitCode combine(LibrarySession &session, const Options &options);

/// The same of `pages`, whatever sources the options name. The session is closed.
ExitCode combinePages(LibrarySession &session, const Options &options,
                      const std::vector<std::string> &pages);

/// Adds the recognised writing to a document made earlier, in its place or in a new file, and prints
/// the path. A page that gets no text is named; the others get theirs, unless the options are strict.
ExitCode addText(LibrarySession &session, const Options &options);

} // namespace cli
