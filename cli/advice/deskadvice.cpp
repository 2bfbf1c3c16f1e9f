#include "cli/advice/deskadvice.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"

#include <filesystem>

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr char kBuiltin[] = "builtin:";
constexpr char kExample[] = "1209:0001 My Camera";

/// "VVVV:PPPP", hexadecimal, and perhaps a name after a blank.
bool isCameraName(const std::string &name)
{
    constexpr char kDigits[] = "0123456789abcdefABCDEF";
    constexpr std::size_t kIds = 9;
    if (name.size() < kIds || name[4] != ':' || (name.size() > kIds && name[kIds] != ' '))
        return false;
    const std::string digits = name.substr(0, 4) + name.substr(5, 4);
    return digits.find_first_not_of(kDigits) == std::string::npos;
}

bool isPicture(const std::string &name)
{
    const std::string extension = extensionOf(name);
    return extension == "jpg" || extension == "jpeg";
}

struct Content
{
    bool cameras = false;
    bool pictures = false;
};

Content contentOfDesk(const std::string &desk)
{
    Content content;
    std::error_code error;
    for (fs::directory_iterator at(desk, error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        std::error_code unknown;
        const std::string name = at->path().filename().string();
        if (at->is_directory(unknown))
            content.cameras = content.cameras || isCameraName(name);
        else
            content.pictures = content.pictures || isPicture(name);
    }
    return content;
}

bool isFolderDesk(const std::string &desk)
{
    return !desk.empty() && (desk + ":").compare(0, sizeof kBuiltin - 1, kBuiltin) != 0;
}

} // namespace

bool holdsPicturesOnly(const std::string &desk)
{
    const Content content = isFolderDesk(desk) ? contentOfDesk(desk) : Content{};
    return content.pictures && !content.cameras;
}

std::string adviceOnDesk(const std::string &desk)
{
    if (!isFolderDesk(desk))
        return {};
    std::error_code error;
    const fs::directory_iterator opened(desk, error);
    if (error)
        return tr("cannot open the simulated desk %1: %2", desk, error.message());
    const Content content = contentOfDesk(desk);
    if (content.cameras)
        return {};
    if (content.pictures)
        return tr("%1 holds pictures, but no camera: a camera is a sub-folder, so put them into "
                  "\"%1/%2\"",
                  desk, kExample);
    return tr("%1 has no sub-folder named like \"%2\", which would be a camera", desk, kExample);
}

} // namespace cli
