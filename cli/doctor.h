#pragma once

#include "cli/advice/videonodes.h"
#include "cli/session/session.h"

#include <string>
#include <vector>

namespace cli {

/// What is wrong with USB cameras and nodes, one sentence each; empty when nothing is.
std::vector<std::string> problemsOf(const std::vector<UsbCamera> &cameras,
                                    const std::vector<VideoNodeInfo> &nodes);

/// Looks at everything between the USB plug and a photograph, and says what is wrong. `opened` is
/// what opening the session answered. Success when every camera gives its pictures; NoLibrary,
/// NoDevice when there is no camera or not the one asked for; otherwise NoFrame or Failure.
ExitCode doctor(LibrarySession &session, const Options &options, ExitCode opened,
                const SystemFolders &folders = {});

} // namespace cli
