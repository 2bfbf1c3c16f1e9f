#include "cli/documents/textsettings.h"

#include "library/settings/settings_paths.h"
#include "library/settings/settings_reader.h"

#include <cstdlib>
#include <string>

namespace cli {
namespace {

/// Empty when the user has no folder for it. The XDG Base Directory Specification wants paths that are
/// not absolute to be ignored.
std::string cacheFolder()
{
    const auto absolute = [](const char *name) {
        const char *const value = std::getenv(name);
        return value != nullptr && *value == '/' ? std::string(value) : std::string();
    };
    std::string folder = absolute("XDG_CACHE_HOME");
    if (const std::string home = absolute("HOME"); folder.empty() && !home.empty())
        folder = home + "/.cache";
    return folder.empty() ? folder : folder + "/korv-camera/text";
}

} // namespace

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
    if (const std::string folder = cacheFolder(); !folder.empty())
        setenv("KORV_CAMERA_TEXT_CACHE", folder.c_str(), 0);
}

} // namespace cli
