#include "cli/documents/textsettings.h"

#include "util/userfolders.h"

#include <cstdlib>
#include <string>

namespace cli {

void passTextSettings(const Options &options)
{
    if (options.text)
        setenv("KORV_CAMERA_TEXT", options.text->c_str(), 1);
    if (const std::string folder = userfolders::cache(); !folder.empty())
        setenv("KORV_CAMERA_TEXT_CACHE", (folder + "/korv-camera/text").c_str(), 0);
}

} // namespace cli
