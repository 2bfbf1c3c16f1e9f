#include "cli/documents/textsettings.h"

#include "library/settings/settings_paths.h"
#include "library/settings/settings_reader.h"
#include "util/userfolders.h"

#include <cstdlib>
#include <string>

namespace cli {

bool hasTextLanguages(const Options &options)
{
    const char *const environment = std::getenv("KORV_CAMERA_TEXT");
    const std::string named = options.text ? *options.text
        : environment != nullptr           ? std::string(environment)
                                           : std::string();
    if (!named.empty())
        return named != "no";
    return !korv::readSettings(korv::settingsPaths()).settings.text.empty();
}

void passTextSettings(const Options &options)
{
    if (options.text)
        setenv("KORV_CAMERA_TEXT", options.text->c_str(), 1);
    if (options.upright)
        setenv("KORV_CAMERA_UPRIGHT", "yes", 1);
    if (const std::string folder = userfolders::cache(); !folder.empty())
        setenv("KORV_CAMERA_TEXT_CACHE", (folder + "/korv-camera/text").c_str(), 0);
}

} // namespace cli
