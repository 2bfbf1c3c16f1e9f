#pragma once

#include "cli/session/jpegsize.h"
#include "cli/session/session.h"

#include <functional>
#include <string>

namespace cli {

struct TakenPhotograph
{
    std::string path;
    int frameWidth = 0; ///< pixels of the camera's frame
    int frameHeight = 0;
    PictureSize size; ///< of the photograph
    bool isWhole = false; ///< a sheet should have been cut out and was not found
    bool isOutOfFocus = false; ///< its writing is blurred
};

using PhotographReceiver = std::function<void(const TakenPhotograph &)>;

/// Takes the photographs that the options ask for and prints their names.
ExitCode snap(LibrarySession &session, const Options &options);

/// The same without printing: each photograph is handed to `taken` when its file is there.
ExitCode snap(LibrarySession &session, const Options &options, const PhotographReceiver &taken);

} // namespace cli
